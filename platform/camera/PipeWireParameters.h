#pragma once

#include "platform/camera/CameraNode.h"

#include <optional>

struct spa_pod;

namespace platform {

/// The formats that an EnumFormat parameter of a node describes, without those that this program
/// cannot read. A range of sizes yields its ends and the usual sizes within.
QList<CameraFormat> cameraFormats(const spa_pod* parameter);

/// The V4L2 control that a PropInfo parameter of a node describes, if any.
std::optional<CameraControl> cameraControl(const spa_pod* parameter);

} // namespace platform
