#include "journal/CaptureImageBrowserItem.h"

#include <QLocale>

using namespace Qt::StringLiterals;

namespace vellumcap {

CaptureImageBrowserItem::CaptureImageBrowserItem(std::shared_ptr<Capture> capture)
    : m_capture(std::move(capture))
{
}

QString CaptureImageBrowserItem::imageUID() const
{
    return m_capture->captureImageKey();
}

ImageRepresentationType CaptureImageBrowserItem::imageRepresentationType() const
{
    return ImageRepresentationType::ImageFile;
}

platform::ImageFile CaptureImageBrowserItem::imageRepresentation() const
{
    return m_capture->getImage();
}

QString CaptureImageBrowserItem::imageTitle() const
{
    return m_capture->captureValue();
}

QString CaptureImageBrowserItem::imageSubtitle() const
{
    return QLocale().toString(m_capture->dateCaptured().toLocalTime(), u"yyyy-MM-dd @ h:m AP"_s);
}

} // namespace vellumcap
