#include "platform/ui/PictureMimeData.h"

#include <QDir>
#include <QImageReader>
#include <QMimeData>
#include <QUrl>

namespace platform {

namespace {

constexpr qsizetype longestPath = 4096;

QString pathInText(const QString& text)
{
    const QString line = text.trimmed();
    if (line.isEmpty() || line.size() > longestPath || line.contains(u'\n')) {
        return {};
    }
    if (line.startsWith(QLatin1String("file://"))) {
        return QUrl(line).toLocalFile();
    }
    if (line.startsWith(QLatin1String("~/"))) {
        return QDir::homePath() + line.mid(1);
    }
    return line.startsWith(u'/') ? line : QString();
}

QStringList localFilesIn(const QMimeData& data)
{
    QStringList paths;
    if (data.hasUrls()) {
        const QList<QUrl> urls = data.urls();
        for (const QUrl& url : urls) {
            if (url.isLocalFile()) {
                paths.append(url.toLocalFile());
            }
        }
    } else if (data.hasText()) {
        const QString path = pathInText(data.text());
        if (!path.isEmpty()) {
            paths.append(path);
        }
    }
    return paths;
}

/// The first readable format of encoded picture data; empty when there is none.
QString encodedFormatIn(const QMimeData& data)
{
    const QStringList formats = data.formats();
    const QList<QByteArray> readable = QImageReader::supportedMimeTypes();
    for (const QString& format : formats) {
        if (readable.contains(format.toLatin1())) {
            return format;
        }
    }
    return {};
}

} // namespace

QString pictureFileIn(const QMimeData& data)
{
    const QStringList paths = localFilesIn(data);
    for (const QString& path : paths) {
        if (looksLikePicture(path)) {
            return path;
        }
    }
    return {};
}

bool hasPictureData(const QMimeData& data)
{
    return data.hasImage() || !encodedFormatIn(data).isEmpty();
}

PictureReading readPictureData(const QMimeData& data)
{
    PictureReading reading;
    const QString format = encodedFormatIn(data);
    if (!format.isEmpty()) {
        reading = readPicture(data.data(format));
    }
    if (reading.outcome == PictureReading::Outcome::Unreadable && data.hasImage()) {
        reading.image = qvariant_cast<QImage>(data.imageData());
        reading.size = reading.image.size();
        if (!reading.image.isNull()) {
            reading.outcome = PictureReading::Outcome::Read;
        }
    }
    return reading;
}

bool canReadPicture(const QMimeData& data)
{
    return hasPictureData(data) || !pictureFileIn(data).isEmpty();
}

} // namespace platform
