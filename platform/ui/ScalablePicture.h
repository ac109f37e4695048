#pragma once

#include <QImage>
#include <QRectF>

#include <vector>

class QPainter;

namespace platform {

/// A picture with its successive halvings, so that it can be drawn at any size without rough
/// edges and without being scaled as a whole at every step of a zoom. A value; one thread at a
/// time.
class ScalablePicture {
public:
    /// No pixel of a picture is drawn larger than this many pixels of the screen.
    static constexpr double largestMagnification = 8;

    ScalablePicture() = default;
    explicit ScalablePicture(QImage image);

    const QImage& image() const { return m_image; }
    bool isNull() const { return m_image.isNull(); }

    /// Makes the halvings now, where drawing need not wait for them.
    void prepare();

    /// Device-independent pixels for each pixel of the picture at which it is whole within `area`.
    double fittingFactor(const QSizeF& area, double devicePixelRatio) const;
    /// The picture at its fitting factor in the middle of `area`.
    QRectF fittingRect(const QRectF& area, double devicePixelRatio) const;

    /// Draws the whole picture into `target`: smoothed, unless its pixels become squares that
    /// can be told apart. Corners are rounded by `radius` device-independent pixels.
    void draw(QPainter& painter, const QRectF& target, double radius = 0);

private:
    const QImage& level(size_t index);
    const QImage& levelFor(double deviceWidth);

    QImage m_image;
    std::vector<QImage> m_levels;
};

} // namespace platform
