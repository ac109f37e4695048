#include "CameraPicture.h"

#include <QBuffer>
#include <QPainter>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace cameras {

namespace {

const QStringList encodings{ u"BGRx"_s, u"BGRA"_s, u"RGBx"_s, u"RGB"_s, u"YUY2"_s, u"UYVY"_s,
    u"NV12"_s, u"I420"_s, u"GRAY8"_s, u"JPEG"_s };

char luma(QRgb color)
{
    return static_cast<char>(
        (66 * qRed(color) + 129 * qGreen(color) + 25 * qBlue(color) + 128) / 256 + 16);
}

char blueness(QRgb color)
{
    return static_cast<char>(
        (-38 * qRed(color) - 74 * qGreen(color) + 112 * qBlue(color) + 128 + 32768) / 256);
}

char redness(QRgb color)
{
    return static_cast<char>(
        (112 * qRed(color) - 94 * qGreen(color) - 18 * qBlue(color) + 128 + 32768) / 256);
}

QRgb mean(QRgb left, QRgb right)
{
    return qRgb((qRed(left) + qRed(right)) / 2, (qGreen(left) + qGreen(right)) / 2,
        (qBlue(left) + qBlue(right)) / 2);
}

const QRgb* line(const QImage& image, int y)
{
    return reinterpret_cast<const QRgb*>(image.constScanLine(y));
}

/// Rows without padding, as cameras send them.
CameraFrame packed(const QImage& image, int bytesPerPixel)
{
    CameraFrame frame{ {}, image.width() * bytesPerPixel };
    frame.bytes.reserve(static_cast<qsizetype>(frame.stride) * image.height());
    for (int y = 0; y < image.height(); ++y) {
        frame.bytes.append(reinterpret_cast<const char*>(image.constScanLine(y)),
            static_cast<qsizetype>(frame.stride));
    }
    return frame;
}

CameraFrame interleaved(const QImage& image, bool lumaFirst)
{
    CameraFrame frame{ QByteArray(static_cast<qsizetype>(image.width()) * 2 * image.height(), 0),
        image.width() * 2 };
    char* out = frame.bytes.data();
    for (int y = 0; y < image.height(); ++y) {
        const QRgb* pixels = line(image, y);
        for (int x = 0; x < image.width(); x += 2, out += 4) {
            const QRgb both = mean(pixels[x], pixels[x + 1]);
            out[lumaFirst ? 0 : 1] = luma(pixels[x]);
            out[lumaFirst ? 1 : 0] = blueness(both);
            out[lumaFirst ? 2 : 3] = luma(pixels[x + 1]);
            out[lumaFirst ? 3 : 2] = redness(both);
        }
    }
    return frame;
}

CameraFrame planar(const QImage& image, bool colorsInterleaved)
{
    CameraFrame frame{ {}, image.width() };
    QByteArray blue;
    QByteArray red;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb* pixels = line(image, y);
        for (int x = 0; x < image.width(); ++x) {
            frame.bytes.append(luma(pixels[x]));
        }
        for (int x = 0; y % 2 == 0 && x < image.width(); x += 2) {
            const QRgb* below = line(image, y + 1);
            const QRgb color = mean(mean(pixels[x], pixels[x + 1]), mean(below[x], below[x + 1]));
            blue.append(blueness(color));
            (colorsInterleaved ? blue : red).append(redness(color));
        }
    }
    frame.bytes += blue + red;
    return frame;
}

CameraFrame compressed(const QImage& image)
{
    CameraFrame frame;
    QBuffer buffer(&frame.bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 90);
    return frame;
}

} // namespace

std::optional<CameraMode> CameraMode::parsed(const QString& text)
{
    static const QRegularExpression form(u"^(\\w+):(\\d+)x(\\d+)@(\\d+)$"_s);
    const auto match = form.match(text);
    const CameraMode mode{ match.captured(1),
        QSize(match.captured(2).toInt(), match.captured(3).toInt()), match.captured(4).toInt() };
    const bool valid = encodings.contains(mode.encoding) && !mode.size.isEmpty() && mode.rate > 0
        && mode.size.width() % 2 == 0 && mode.size.height() % 2 == 0;
    return valid ? std::optional(mode) : std::nullopt;
}

QImage seenPicture(const QImage& picture, QSize size)
{
    QImage seen(size, QImage::Format_RGB32);
    seen.fill(Qt::white);
    const bool fits = picture.width() <= size.width() && picture.height() <= size.height();
    const QImage shown
        = fits ? picture : picture.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPainter(&seen).drawImage(
        (size.width() - shown.width()) / 2, (size.height() - shown.height()) / 2, shown);
    return seen;
}

CameraFrame encodedFrame(const QImage& seen, const QString& encoding)
{
    if (encoding == QLatin1String("JPEG")) {
        return compressed(seen);
    }
    if (encoding == QLatin1String("YUY2") || encoding == QLatin1String("UYVY")) {
        return interleaved(seen, encoding == QLatin1String("YUY2"));
    }
    if (encoding == QLatin1String("NV12") || encoding == QLatin1String("I420")) {
        return planar(seen, encoding == QLatin1String("NV12"));
    }
    if (encoding == QLatin1String("RGB")) {
        return packed(seen.convertToFormat(QImage::Format_RGB888), 3);
    }
    if (encoding == QLatin1String("RGBx")) {
        return packed(seen.convertToFormat(QImage::Format_RGBX8888), 4);
    }
    if (encoding == QLatin1String("GRAY8")) {
        return packed(seen.convertToFormat(QImage::Format_Grayscale8), 1);
    }
    return packed(seen, 4);
}

int largestFrame(const CameraMode& mode)
{
    return mode.size.width() * mode.size.height() * 4;
}

} // namespace cameras
