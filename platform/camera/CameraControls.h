#pragma once

#include "platform/camera/CameraModes.h"
#include "platform/camera/CameraNode.h"

#include <memory>
#include <optional>

namespace platform {

class V4L2Device;

/// The settings of one camera, by its device, or by PipeWire where the device cannot be opened.
/// One thread at a time, which the driver may hold up. The camera may be pulled out at any time;
/// then nothing is supported or set.
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
    bool isBusy() const; ///< see V4L2Device

private:
    bool has(quint32 control) const;
    bool has(quint32 control, int choice) const;
    void set(quint32 control, int value);
    std::optional<int> automaticExposure() const;

    CameraNode m_node;
    std::unique_ptr<V4L2Device> m_device; ///< null where it cannot be opened
};

} // namespace platform
