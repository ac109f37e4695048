#include "platform/barcode/GreyPicture.h"

#include <algorithm>

namespace platform {
namespace {

// Weights of ITU-R BT.601 in 1/1024. Adding the transparency to a premultiplied colour blends it
// with white.
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

} // namespace platform
