#include "tests/support/Pictures.h"

#include <QBuffer>
#include <QColor>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

namespace support {

QImage plainPicture(QSize size, QColor color)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

QImage noisePicture(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, random.generate() | 0xff000000U);
        }
    }
    return image;
}

QByteArray encoded(const QImage& image, const char* format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QByteArray tooLargePng()
{
    QImage image(20'000, 20'000, QImage::Format_Mono);
    image.fill(1);
    return encoded(image, "PNG");
}

QByteArray turnedJpeg(const QImage& image)
{
    // One Exif directory (little endian) with one entry: orientation, short, 6.
    const QByteArray exif = QByteArray::fromHex("ffe10022457869660000"
                                                "49492a0008000000"
                                                "010012010300010000000600000000000000");
    QByteArray jpeg = encoded(image, "JPEG");
    constexpr qsizetype startOfImage = 2;
    return jpeg.insert(startOfImage, exif);
}

QByteArray animatedGif()
{
    const QByteArray frame = QByteArray::fromHex("21f904000a000000"
                                                 "2c000000000200020000");
    return QByteArray("GIF89a") + QByteArray::fromHex("02000200800000ff00000000ff") + frame
        + QByteArray::fromHex("020304081400") + frame + QByteArray::fromHex("02034c981400")
        + QByteArray::fromHex("3b");
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly)
        || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

} // namespace support
