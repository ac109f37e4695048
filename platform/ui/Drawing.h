#pragma once

#include <QColor>
#include <QRectF>

class QPainter;
class QPalette;

/// Drawing functions that the platform's widgets share. Lengths are device-independent pixels.
/// Colours are derived from the palette, for light and dark windows.
namespace platform::drawing {

inline constexpr double cardRadius = 8;
inline constexpr double ringWidth = 2;

/// `over` blended onto `under` with an opacity from 0 to 1.
QColor blend(const QColor& under, const QColor& over, double opacity);

/// The background of tiles: slightly different from the window's.
QColor tileColor(const QPalette& palette);
QColor hairlineColor(const QPalette& palette);
QColor faintColor(const QPalette& palette);

/// Rounded to whole pixels of the screen.
QPointF snapped(QPointF point, double devicePixelRatio);

void fillCard(
    QPainter& painter, const QRectF& area, const QColor& fill, double radius = cardRadius);
/// One pixel wide, inside `area`.
void strokeHairline(
    QPainter& painter, const QRectF& area, const QColor& color, double radius = cardRadius);
/// Inside `area`, in the palette's highlight.
void drawFocusRing(
    QPainter& painter, const QRectF& area, const QPalette& palette, double radius = cardRadius);

/// The line width of strokeRect() in the whole process, initially 1. Main thread.
double defaultLineWidth();
void setDefaultLineWidth(double width);
/// Centred on the edge of `area`, in the default line width.
void strokeRect(QPainter& painter, const QRectF& area, const QColor& color);

/// The symbol for "no picture", a framed landscape in outlines, in the middle of `area`.
void drawPictureGlyph(QPainter& painter, const QRectF& area, const QColor& color);

} // namespace platform::drawing
