#pragma once

#include "platform/camera/AdjustmentObservation.h"
#include "platform/camera/CameraModes.h"

#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace platform {

enum class MediaType { Video, Muxed };

struct FrameRateRange {
    double minFrameRate = 0; ///< frames a second
    double maxFrameRate = 0;
};

/// What a camera delivers while it runs.
struct CaptureDeviceFormat {
    QList<FrameRateRange> videoSupportedFrameRateRanges;
};

/// A camera. Copies are handles on the same camera, which may be unplugged at any time; then no
/// mode is supported and none can be set. The same holds for a camera whose driver does not respond
/// within a second. Main thread, except for observers.
class CaptureDevice {
public:
    /// The cameras in the system's order. No camera is of type Muxed (sound and picture in one).
    static QList<CaptureDevice> devicesWithMediaType(MediaType type);
    static std::optional<CaptureDevice> defaultDeviceWithMediaType(MediaType type);
    static std::optional<CaptureDevice> deviceWithUniqueID(const QString& uniqueID);

    const QString& uniqueID() const; ///< stable across restarts
    const QString& localizedName() const;

    bool isSuspended() const; ///< a shutter or privacy switch is closed
    /// Without PipeWire this must be called before a session starts: afterwards the device is busy
    /// with that session.
    bool isInUseByAnotherApplication() const;

    bool isFocusModeSupported(FocusMode mode) const;
    bool isExposureModeSupported(ExposureMode mode) const;
    bool isWhiteBalanceModeSupported(WhiteBalanceMode mode) const;

    /// Takes the exclusive right to set modes, until unlockForConfiguration(). False when another
    /// program holds it, or the camera is unplugged or does not respond.
    [[nodiscard]] bool lockForConfiguration();
    /// No effect without the lock or when the mode is not supported.
    void setFocusMode(FocusMode mode);
    void setExposureMode(ExposureMode mode);
    void setWhiteBalanceMode(WhiteBalanceMode mode);
    void unlockForConfiguration();

    /// The format in which a session reads this camera.
    CaptureDeviceFormat activeFormat() const;

    enum class Adjustment { Focus, Exposure, WhiteBalance };
    /// Calls `observer` whenever the camera begins or ends to adjust itself, on any thread. Null
    /// when it never reports that: some cameras report their focus, none the others.
    [[nodiscard]] std::unique_ptr<AdjustmentObservation> observe(
        Adjustment adjustment, std::function<void(bool isAdjusting)> observer);

private:
    struct State;
    explicit CaptureDevice(std::shared_ptr<State> state);

    std::shared_ptr<State> m_state;
};

} // namespace platform
