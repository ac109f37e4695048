#pragma once

#include <QImage>
#include <QRect>
#include <QtGlobal>

#include <cstddef>
#include <vector>

namespace platform {

/// A non-owning view of grey pixels, one byte each. The pixels must outlive the view.
struct PictureView {
    const uchar* pixels = nullptr;
    int width = 0;
    int height = 0;
    qsizetype stride = 0; ///< bytes per row, with padding

    const uchar* row(int y) const { return pixels + y * stride; }
    QRect rect() const { return { 0, 0, width, height }; }
    bool isEmpty() const { return width <= 0 || height <= 0; }
    bool isPacked() const { return stride == width; }

    /// The intersection with `part`.
    PictureView cropped(const QRect& part) const
    {
        const QRect inside = part & rect();
        return inside.isEmpty()
            ? PictureView{}
            : PictureView{ row(inside.y()) + inside.x(), inside.width(), inside.height(), stride };
    }
};

/// For pictures of Format_Grayscale8.
inline PictureView viewOf(const QImage& grey)
{
    return { grey.constBits(), grey.width(), grey.height(), grey.bytesPerLine() };
}

/// Owns grey pixels in rows without padding. Keeps its memory when resized, for reuse.
class PictureBuffer {
public:
    void resize(int width, int height)
    {
        m_width = width;
        m_height = height;
        m_pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    }
    uchar* row(int y) { return m_pixels.data() + static_cast<qsizetype>(y) * m_width; }
    PictureView view() const { return { m_pixels.data(), m_width, m_height, m_width }; }

private:
    std::vector<uchar> m_pixels;
    int m_width = 0;
    int m_height = 0;
};

} // namespace platform
