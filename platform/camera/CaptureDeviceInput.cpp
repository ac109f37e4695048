#include "platform/camera/CaptureDeviceInput.h"

#include <utility>

using Qt::StringLiterals::operator""_s;

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
        *error = { .domain = u"camera"_s,
            .code = 1,
            .localizedDescription = u"There is no camera."_s,
            .failureReason = {} };
    }
    return nullptr;
}

} // namespace platform
