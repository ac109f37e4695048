#include "platform/ui/PictureReading.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImageReader>

namespace platform {

namespace {

void prepare(QImageReader& reader)
{
    [[maybe_unused]] static const bool limited = [] {
        QImageReader::setAllocationLimit(static_cast<int>(largestPictureBytes / (1024 * 1024)));
        return true;
    }();
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(true);
}

bool isTooLarge(QSize size)
{
    // Even a picture of one bit a pixel is converted to 32 bits when it is shown.
    return static_cast<qint64>(size.width()) * size.height() * 4 > largestPictureBytes;
}

PictureReading read(QImageReader& reader)
{
    PictureReading reading;
    reading.size = reader.size();
    if (reading.size.isValid() && isTooLarge(reading.size)) {
        reading.outcome = PictureReading::Outcome::TooLarge;
        return reading;
    }
    reading.image = reader.read();
    if (!reading.image.isNull()) {
        reading.outcome = PictureReading::Outcome::Read;
        reading.size = reading.image.size();
    }
    return reading;
}

/// Opening a pipe or a device could block.
bool isOrdinaryFile(const QString& path)
{
    return QFileInfo(path).isFile();
}

} // namespace

PictureReading readPicture(const QString& path)
{
    if (!isOrdinaryFile(path)) {
        return {};
    }
    QImageReader reader(path);
    prepare(reader);
    return read(reader);
}

PictureReading readPicture(const QByteArray& data)
{
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    prepare(reader);
    return read(reader);
}

QImage readThumbnail(const QString& path, int side)
{
    if (!isOrdinaryFile(path)) {
        return {};
    }
    QImageReader reader(path);
    prepare(reader);
    const QSize size = reader.size();
    if (size.isValid() && (size.width() > side || size.height() > side)) {
        // The scaled size precedes the rotation by the metadata; for a square it is the same.
        const QSize reduced = size.scaled(side, side, Qt::KeepAspectRatio);
        reader.setScaledSize(reduced.expandedTo(QSize(1, 1)));
    }
    QImage image = read(reader).image;
    if (image.width() > side || image.height() > side) { // the reader did not know the size
        image = image.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
    return image.convertToFormat(
        image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
}

bool looksLikePicture(const QString& path)
{
    if (!isOrdinaryFile(path)) {
        return false;
    }
    QImageReader reader(path);
    prepare(reader);
    return reader.canRead();
}

} // namespace platform
