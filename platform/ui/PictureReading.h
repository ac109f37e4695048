#pragma once

#include <QImage>
#include <QSize>
#include <QString>

class QByteArray;
class QIODevice;

namespace platform {

/// Reading pictures that come from outside: told apart by content, turned as their metadata says,
/// the first frame where there are several, and bounded in memory. Any thread.
struct PictureReading {
    enum class Outcome { Read, Unreadable, TooLarge };

    Outcome outcome = Outcome::Unreadable;
    QImage image; ///< null unless Read
    QSize size; ///< in pixels, as far as the file told it
};

/// No picture takes more than this once it is decoded at 32 bits a pixel.
inline constexpr qint64 largestPictureBytes = qint64(512) * 1024 * 1024;

PictureReading readPicture(const QString& path);
PictureReading readPicture(const QByteArray& data);

/// The picture reduced, never enlarged, to fit a square of `side` pixels; null on any failure.
QImage readThumbnail(const QString& path, int side);

/// Whether the file's first bytes are those of a picture; cheap enough for a drag that hovers.
bool looksLikePicture(const QString& path);

} // namespace platform
