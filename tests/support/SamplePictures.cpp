#include "tests/support/SamplePictures.h"

#include <QFile>
#include <QImageReader>

using namespace Qt::StringLiterals;

namespace support {

QFileInfoList picturesIn(const QDir& folder)
{
    QStringList patterns;
    for (const QByteArray& format : QImageReader::supportedImageFormats()) {
        patterns.append(u"*."_s + QString::fromLatin1(format));
    }
    return folder.entryInfoList(patterns, QDir::Files, QDir::Name);
}

std::optional<QString> expectedText(const QFileInfo& picture)
{
    QFile file(picture.dir().filePath(picture.completeBaseName() + u".txt"_s));
    if (!file.open(QFile::ReadOnly)) {
        return std::nullopt;
    }
    return QString::fromUtf8(file.readAll());
}

} // namespace support
