#include "camera/CodeOnOffer.h"

namespace vellumcap {

std::optional<QString> CodeOnOffer::captureData() const
{
    const std::lock_guard lock(m_mutex);
    return m_captureData;
}

void CodeOnOffer::setCaptureData(const QString& text)
{
    const std::lock_guard lock(m_mutex);
    m_captureData = QString(text.constData(), text.size());
}

QImage CodeOnOffer::capturedImage() const
{
    const std::lock_guard lock(m_mutex);
    return m_capturedImage;
}

void CodeOnOffer::setCapturedImage(const QImage& picture)
{
    const std::lock_guard lock(m_mutex);
    m_capturedImage = picture;
}

bool CodeOnOffer::accept(const QString& text, const QImage& picture)
{
    if (captureData() == text) {
        return false;
    }
    setCaptureState(1);
    setCapturedImage(picture);
    setCaptureData(text);
    return true;
}

} // namespace vellumcap
