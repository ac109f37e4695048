#include "platform/ui/Drawing.h"

#include <QPainter>
#include <QPainterPath>
#include <QPalette>

namespace platform::drawing {

namespace {

double lineWidth = 1;

} // namespace

QColor blend(const QColor& under, const QColor& over, double opacity)
{
    const auto mix
        = [share = static_cast<float>(opacity)](float a, float b) { return a + (b - a) * share; };
    return QColor::fromRgbF(mix(under.redF(), over.redF()), mix(under.greenF(), over.greenF()),
        mix(under.blueF(), over.blueF()));
}

QColor tileColor(const QPalette& palette)
{
    return blend(palette.color(QPalette::Window), palette.color(QPalette::Text), 0.03);
}

QColor hairlineColor(const QPalette& palette)
{
    return blend(palette.color(QPalette::Base), palette.color(QPalette::Text), 0.14);
}

QColor faintColor(const QPalette& palette)
{
    return blend(palette.color(QPalette::Base), palette.color(QPalette::Text), 0.26);
}

QPointF snapped(QPointF point, double devicePixelRatio)
{
    return QPointF((point * devicePixelRatio).toPoint()) / devicePixelRatio;
}

void fillCard(QPainter& painter, const QRectF& area, const QColor& fill, double radius)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(area, radius, radius);
}

void strokeHairline(QPainter& painter, const QRectF& area, const QColor& color, double radius)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(area.adjusted(0.5, 0.5, -0.5, -0.5), radius - 0.5, radius - 0.5);
}

void drawFocusRing(QPainter& painter, const QRectF& area, const QPalette& palette, double radius)
{
    constexpr double inset = ringWidth / 2;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette.color(QPalette::Highlight), ringWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(
        area.adjusted(inset, inset, -inset, -inset), radius - inset, radius - inset);
}

double defaultLineWidth()
{
    return lineWidth;
}

void setDefaultLineWidth(double width)
{
    lineWidth = width;
}

void strokeRect(QPainter& painter, const QRectF& area, const QColor& color)
{
    painter.setPen(QPen(color, defaultLineWidth(), Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(area);
}

void drawPictureGlyph(QPainter& painter, const QRectF& area, const QColor& color)
{
    const double width = qBound(16.0, qMin(area.width(), area.height()) * 0.36, 72.0);
    const QSizeF size(width, width * 0.78);
    const QRectF frame(area.center() - QPointF(size.width() / 2, size.height() / 2), size);
    const auto at = [&frame](double x, double y) {
        return QPointF(frame.x() + x * frame.width(), frame.y() + y * frame.height());
    };

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, qMax(1.5, width / 22), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(frame, width * 0.12, width * 0.12);
    painter.drawEllipse(at(0.3, 0.32), width * 0.08, width * 0.08);
    QPainterPath hills(at(0.06, 0.84));
    hills.lineTo(at(0.32, 0.58));
    hills.lineTo(at(0.46, 0.72));
    hills.lineTo(at(0.68, 0.44));
    hills.lineTo(at(0.94, 0.76));
    painter.drawPath(hills);
    painter.restore();
}

} // namespace platform::drawing
