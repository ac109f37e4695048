#include "platform/barcode/GreyPicture.h"

#include <algorithm>
#include <vector>

namespace platform {
namespace {

// BT.601 weights in 1/1024. A colour that is premultiplied by its opacity becomes the colour on
// white once the light that shines through is added.
uchar brightnessOnWhite(QRgb premultiplied)
{
    const int colour = (306 * qRed(premultiplied) + 601 * qGreen(premultiplied)
                           + 117 * qBlue(premultiplied) + 512)
        >> 10;
    return static_cast<uchar>(std::min(255, colour + 255 - qAlpha(premultiplied)));
}

} // namespace

QImage greyPicture(const QImage& bitmap)
{
    if (bitmap.format() == QImage::Format_Grayscale8) {
        return bitmap;
    }
    const QImage colours = bitmap.convertToFormat(
        bitmap.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    QImage grey(colours.size(), QImage::Format_Grayscale8);
    if (colours.isNull() || grey.isNull()) {
        return {};
    }
    for (int y = 0; y < grey.height(); ++y) {
        const auto* from = reinterpret_cast<const QRgb*>(colours.constScanLine(y));
        std::transform(from, from + grey.width(), grey.scanLine(y), brightnessOnWhite);
    }
    return grey;
}

QImage shrunk(const QImage& grey, int factor)
{
    const int width = grey.width() / factor;
    const int height = grey.height() / factor;
    QImage result(width, height, QImage::Format_Grayscale8);
    if (result.isNull()) {
        return {};
    }
    std::vector<int> sums(static_cast<std::size_t>(width));
    for (int y = 0; y < height; ++y) {
        std::fill(sums.begin(), sums.end(), 0);
        for (int row = y * factor; row < (y + 1) * factor; ++row) {
            const uchar* from = grey.constScanLine(row);
            for (int& sum : sums) {
                for (int column = 0; column < factor; ++column) {
                    sum += *from++;
                }
            }
        }
        std::transform(sums.begin(), sums.end(), result.scanLine(y),
            [area = factor * factor](int sum) { return static_cast<uchar>(sum / area); });
    }
    return result;
}

QImage inverted(const QImage& grey)
{
    QImage result = grey;
    result.invertPixels();
    return result;
}

} // namespace platform
