#pragma once

#include "platform/camera/CaptureDevice.h"

namespace platform {

/// Calls `observer` whenever the device begins or ends to focus, on a thread of its own that ends
/// with the observation, unless the driver blocks it. Null when the device does not report it.
std::unique_ptr<CaptureDevice::Observation> observeFocus(
    const QString& devicePath, std::function<void(bool adjusting)> observer);

} // namespace platform
