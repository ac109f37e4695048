#pragma once

#include "platform/camera/CameraFormat.h"

#include <QList>

#include <optional>

namespace platform {

/// The one in which a session takes a camera's picture: the largest up to 1920 x 1080 that reaches
/// 30 frames a second, uncompressed before JPEG, then by the order of the encodings. Where none
/// reaches 30, the fastest counts; where all are larger than that, the smallest. Empty for none.
std::optional<CameraFormat> chosenFormat(const QList<CameraFormat>& formats);

} // namespace platform
