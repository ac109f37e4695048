#pragma once

#include <QImage>
#include <QRectF>

#include <vector>

class QPainter;

namespace platform {

/// A picture with copies of half, a quarter, an eighth of its size and so on, for drawing it fast
/// and smoothly at any size. A value; one thread at a time.
class ScalablePicture {
public:
    /// In pixels of the screen per pixel of the picture.
    static constexpr double largestMagnification = 8;

    ScalablePicture() = default;
    explicit ScalablePicture(QImage image);

    const QImage& image() const { return m_image; }
    bool isNull() const { return m_image.isNull(); }

    /// Makes the reduced copies in advance, so that drawing does not have to.
    void prepare();

    /// The zoom at which the picture fits into `area`, in device-independent pixels per pixel of
    /// the picture.
    double fittingFactor(const QSizeF& area, double devicePixelRatio) const;
    /// The place of the fitted picture in the middle of `area`, on whole pixels of the screen.
    QRectF fittingRect(const QRectF& area, double devicePixelRatio) const;

    /// Draws the whole picture into `target`, smoothed unless it is enlarged at least twice. Rounds
    /// the corners by `radius` device-independent pixels.
    void draw(QPainter& painter, const QRectF& target, double radius = 0);

private:
    const QImage& level(size_t index);
    const QImage& levelFor(double deviceWidth);

    QImage m_image;
    std::vector<QImage> m_levels;
};

} // namespace platform
