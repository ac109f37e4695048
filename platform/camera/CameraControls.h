#pragma once

#include "platform/camera/CameraModes.h"
#include "platform/camera/CameraNode.h"

#include <memory>
#include <optional>

namespace platform {

class V4L2Device;

/// The settings of one camera, through its device, or through PipeWire when the device cannot be
/// opened. The camera may be unplugged at any time; then no mode is supported, and setting one has
/// no effect. One thread at a time, which the driver may block.
class CameraControls {
public:
    explicit CameraControls(CameraNode node);
    ~CameraControls();
    CameraControls(const CameraControls&) = delete;
    CameraControls& operator=(const CameraControls&) = delete;

    bool isSupported(FocusMode mode) const;
    bool isSupported(ExposureMode mode) const;
    bool isSupported(WhiteBalanceMode mode) const;
    void set(FocusMode mode);
    void set(ExposureMode mode);
    void set(WhiteBalanceMode mode);

    /// Keeps other programs from setting controls during the lifetime of this object. False when
    /// another program does the same.
    [[nodiscard]] bool claimPriority();

    bool isCovered() const; ///< by a shutter
    bool isBusy() const; ///< see V4L2Device::isBusy()

private:
    bool has(quint32 control) const;
    bool has(quint32 control, int choice) const;
    void set(quint32 control, int value);
    std::optional<int> automaticExposure() const;

    CameraNode m_node;
    std::unique_ptr<V4L2Device> m_device; ///< null when it cannot be opened
};

} // namespace platform
