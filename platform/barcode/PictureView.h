#pragma once

#include <QImage>
#include <QRect>
#include <QtGlobal>

#include <cstddef>
#include <vector>

namespace platform {

/// Grey pixels, a byte each, that belong to someone else and outlive the view. A view of an empty
/// picture has no pixels and no size.
struct PictureView {
    const uchar* pixels = nullptr;
    int width = 0;
    int height = 0;
    qsizetype stride = 0; ///< bytes from one row to the next

    const uchar* row(int y) const { return pixels + y * stride; }
    QRect rect() const { return { 0, 0, width, height }; }
    bool isEmpty() const { return width <= 0 || height <= 0; }
    bool isPacked() const { return stride == width; }

    /// The part of it that lies within `part`.
    PictureView cropped(const QRect& part) const
    {
        const QRect inside = part & rect();
        return inside.isEmpty()
            ? PictureView{}
            : PictureView{ row(inside.y()) + inside.x(), inside.width(), inside.height(), stride };
    }
};

/// Of a picture of Format_Grayscale8.
inline PictureView viewOf(const QImage& grey)
{
    return { grey.constBits(), grey.width(), grey.height(), grey.bytesPerLine() };
}

/// Grey pixels in rows without padding. A buffer that is resized keeps its memory, so that one
/// filled again and again asks for memory once.
class PictureBuffer {
public:
    void resize(int width, int height)
    {
        m_width = width;
        m_height = height;
        m_pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    }
    uchar* row(int y) { return m_pixels.data() + qsizetype(y) * m_width; }
    PictureView view() const { return { m_pixels.data(), m_width, m_height, m_width }; }

private:
    std::vector<uchar> m_pixels;
    int m_width = 0;
    int m_height = 0;
};

} // namespace platform
