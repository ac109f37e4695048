#pragma once

#include <QImage>
#include <QString>

namespace platform {

/// The location of a picture that is read only when it is shown. Neither the file's existence nor
/// its content is checked before.
struct ImageFile {
    QString path;

    bool isNull() const { return path.isEmpty(); }
    QImage load() const; ///< null when the file is missing or is no picture; any thread
    bool operator==(const ImageFile&) const = default;
};

} // namespace platform
