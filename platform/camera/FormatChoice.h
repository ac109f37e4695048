#pragma once

#include "platform/camera/CameraFormat.h"

#include <QList>

#include <optional>

namespace platform {

/// The format in which a session reads a camera: the largest up to 1920 x 1080 with at least 30
/// frames per second, uncompressed before JPEG, then by the order of the encodings. When none has
/// 30, the fastest; when all are larger, the smallest. Empty when there are no formats.
std::optional<CameraFormat> chosenFormat(const QList<CameraFormat>& formats);

} // namespace platform
