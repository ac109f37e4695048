#pragma once

#include "platform/camera/CaptureDevice.h"

#include <memory>
#include <optional>
#include <utility>

namespace platform {

/// A camera as the source of a session.
class CaptureDeviceInput {
public:
    /// Null when there is no camera.
    static std::shared_ptr<CaptureDeviceInput> create(const std::optional<CaptureDevice>& device)
    {
        return device ? std::make_shared<CaptureDeviceInput>(*device) : nullptr;
    }

    explicit CaptureDeviceInput(CaptureDevice device)
        : m_device(std::move(device))
    {
    }
    const CaptureDevice& device() const { return m_device; }

private:
    const CaptureDevice m_device;
};

} // namespace platform
