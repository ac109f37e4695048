#include "platform/camera/CaptureDeviceInput.h"

#include <utility>

namespace platform {

CaptureDeviceInput::CaptureDeviceInput(CaptureDevice device)
    : m_device(std::move(device))
{
}

std::shared_ptr<CaptureDeviceInput> CaptureDeviceInput::create(
    const std::optional<CaptureDevice>& device, Error* error)
{
    if (device) {
        return std::shared_ptr<CaptureDeviceInput>(new CaptureDeviceInput(*device));
    }
    if (error) {
        *error = { .domain = QStringLiteral("camera"),
            .code = 1,
            .localizedDescription = QStringLiteral("There is no camera."),
            .failureReason = {} };
    }
    return nullptr;
}

} // namespace platform
