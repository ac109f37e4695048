#include "platform/camera/CaptureDevice.h"

namespace platform {

QList<CaptureDevice> CaptureDevice::devicesWithMediaType(MediaType)
{
    return {};
}

std::optional<CaptureDevice> CaptureDevice::defaultDeviceWithMediaType(MediaType)
{
    return std::nullopt;
}

} // namespace platform
