#pragma once

#include <QImage>
#include <QSize>
#include <QString>

class QByteArray;
class QIODevice;

namespace platform {

/// The result of reading a picture from outside the program. The format is detected from the
/// content, the orientation in the metadata is applied, and only the first frame is read. The size
/// in memory is limited. Any thread.
struct PictureReading {
    enum class Outcome { Read, Unreadable, TooLarge };

    Outcome outcome = Outcome::Unreadable;
    QImage image; ///< null unless Read
    QSize size; ///< in pixels; invalid when unknown
};

/// The size limit of a picture at 32 bits a pixel.
inline constexpr qint64 largestPictureBytes = 512LL * 1024 * 1024;

PictureReading readPicture(const QString& path);
PictureReading readPicture(const QByteArray& data);

/// The picture reduced, never enlarged, to fit a square of `side` pixels; null on any failure.
QImage readThumbnail(const QString& path, int side);

/// Whether the file begins like a picture. Fast enough for the events of a drag.
bool looksLikePicture(const QString& path);

} // namespace platform
