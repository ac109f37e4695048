#pragma once

#include "platform/ui/PictureReading.h"

#include <QString>

class QMimeData;

namespace platform {

// Pictures in dropped or pasted data: a local file, given by its URL or its path as text, or the
// data of a picture.

/// The path of the first local file that is a picture; empty when there is none. Text counts when
/// it is an absolute path, a path that begins with "~/", or a file URL.
QString pictureFileIn(const QMimeData& data);

bool hasPictureData(const QMimeData& data);
PictureReading readPictureData(const QMimeData& data);

/// Checks only the beginning of files and the names of formats.
bool canReadPicture(const QMimeData& data);

} // namespace platform
