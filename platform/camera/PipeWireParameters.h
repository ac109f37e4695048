#pragma once

#include "platform/camera/CameraNode.h"

#include <optional>

struct spa_pod;

namespace platform {

/// The formats that an EnumFormat parameter of a node stands for, without those that nobody here
/// can read. Of a range of sizes only the usual ones and its ends are named.
QList<CameraFormat> cameraFormats(const spa_pod* parameter);

/// The control of V4L2 that a PropInfo parameter of a node describes, if any.
std::optional<CameraControl> cameraControl(const spa_pod* parameter);

} // namespace platform
