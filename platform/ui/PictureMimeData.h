#pragma once

#include "platform/ui/PictureReading.h"

#include <QString>
#include <QStringList>

class QMimeData;

namespace platform {

/// Pictures in what is dropped or pasted: a local file, by its address or as the text of its
/// path, or the picture's own data.

/// The first local file that is a picture; empty when there is none. A text counts when it is a
/// path from the root, from the home folder ("~") or a file address.
QString pictureFileIn(const QMimeData& data);

bool hasPictureData(const QMimeData& data);
PictureReading readPictureData(const QMimeData& data);

/// Decides by the first bytes of files and the names of formats only.
bool canReadPicture(const QMimeData& data);

} // namespace platform
