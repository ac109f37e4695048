#pragma once

#include "platform/camera/CaptureDevice.h"

namespace platform {

/// A camera as the source of a session.
class CaptureDeviceInput {
public:
    /// Null, with the reason in `error`, when there is no camera.
    static std::shared_ptr<CaptureDeviceInput> create(
        const std::optional<CaptureDevice>& device, Error* error = nullptr);

    const CaptureDevice& device() const { return m_device; }

private:
    explicit CaptureDeviceInput(CaptureDevice device);
    CaptureDevice m_device;
};

} // namespace platform
