#pragma once

#include <QColor>
#include <QRectF>

class QPainter;
class QPalette;

/// What the platform's own widgets have in common on the screen. All colours come from the
/// palette, so that light and dark desktops look alike. Lengths are device-independent pixels.
namespace platform::drawing {

inline constexpr double cardRadius = 8;
inline constexpr double ringWidth = 2;

/// `over` laid on `under` with that opacity (0 to 1).
QColor blend(const QColor& under, const QColor& over, double opacity);

/// A step away from the background that is neither text nor highlight.
QColor tileColor(const QPalette& palette);
QColor hairlineColor(const QPalette& palette);
QColor faintColor(const QPalette& palette);

void fillCard(
    QPainter& painter, const QRectF& area, const QColor& fill, double radius = cardRadius);
/// One pixel wide, inside `area`.
void strokeHairline(
    QPainter& painter, const QRectF& area, const QColor& color, double radius = cardRadius);
/// Inside `area`, in the palette's highlight.
void drawFocusRing(
    QPainter& painter, const QRectF& area, const QPalette& palette, double radius = cardRadius);

/// The width of strokes that set none, in the whole process; 1 at first. Main thread.
double defaultLineWidth();
void setDefaultLineWidth(double width);
/// Centred on the edge of `area`, in the default line width.
void strokeRect(QPainter& painter, const QRectF& area, const QColor& color);

/// A framed landscape in outlines, in the middle of `area`: the sign for "no picture".
void drawPictureGlyph(QPainter& painter, const QRectF& area, const QColor& color);

} // namespace platform::drawing
