#include "platform/ui/ScalablePicture.h"

#include "platform/ui/Drawing.h"

#include <QPaintDevice>
#include <QPainter>

#include <utility>

namespace platform {

namespace {

constexpr int smallestHalving = 32;

bool canHalve(const QImage& image)
{
    return image.width() >= 2 * smallestHalving && image.height() >= 2 * smallestHalving;
}

QImage drawable(const QImage& image)
{
    return image.convertToFormat(
        image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
}

} // namespace

ScalablePicture::ScalablePicture(QImage image)
    : m_image(std::move(image))
{
}

void ScalablePicture::prepare()
{
    if (!isNull()) {
        levelFor(0);
    }
}

double ScalablePicture::fittingFactor(const QSizeF& area, double devicePixelRatio) const
{
    if (isNull()) {
        return 1;
    }
    const double horizontal = area.width() / m_image.width();
    const double vertical = area.height() / m_image.height();
    const double least = 1.0 / qMax(m_image.width(), m_image.height());
    return qBound(
        least, qMin(horizontal, vertical), qMax(least, largestMagnification / devicePixelRatio));
}

QRectF ScalablePicture::fittingRect(const QRectF& area, double devicePixelRatio) const
{
    const QSizeF size = QSizeF(m_image.size()) * fittingFactor(area.size(), devicePixelRatio);
    const QPointF topLeft = area.center() - QPointF(size.width() / 2, size.height() / 2);
    return { drawing::snapped(topLeft, devicePixelRatio), size };
}

const QImage& ScalablePicture::level(size_t index)
{
    if (m_levels.empty()) {
        m_levels.push_back(drawable(m_image));
    }
    while (m_levels.size() <= index) {
        const QImage& last = m_levels.back();
        m_levels.push_back(last.scaled(
            last.width() / 2, last.height() / 2, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }
    return m_levels[index];
}

const QImage& ScalablePicture::levelFor(double deviceWidth)
{
    size_t index = 0;
    while (canHalve(level(index)) && level(index).width() >= 2 * deviceWidth) {
        ++index;
    }
    return level(index);
}

void ScalablePicture::draw(QPainter& painter, const QRectF& target, double radius)
{
    if (isNull() || target.isEmpty()) {
        return;
    }
    const double deviceWidth = target.width() * painter.device()->devicePixelRatio();
    const QImage& source = levelFor(deviceWidth);
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform, deviceWidth < 2 * m_image.width());
    if (radius > 0) {
        QBrush texture(source);
        texture.setTransform(
            QTransform::fromTranslate(target.x(), target.y())
                .scale(target.width() / source.width(), target.height() / source.height()));
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(texture);
        painter.drawRoundedRect(target, radius, radius);
    } else {
        painter.drawImage(target, source);
    }
    painter.restore();
}

} // namespace platform
