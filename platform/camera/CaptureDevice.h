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

/// A camera. Copies are handles on the same camera, which may be pulled out at any time; then
/// nothing is supported and nothing can be set. So it is with one whose driver does not answer for
/// a second, for which nobody waits longer. Main thread, but for observations.
class CaptureDevice {
public:
    /// The cameras in the system's order. Muxed (sound and picture in one) is offered by none.
    static QList<CaptureDevice> devicesWithMediaType(MediaType type);
    static std::optional<CaptureDevice> defaultDeviceWithMediaType(MediaType type);
    static std::optional<CaptureDevice> deviceWithUniqueID(const QString& uniqueID);

    const QString& uniqueID() const; ///< stable over restarts
    const QString& localizedName() const;

    bool isSuspended() const; ///< a shutter or privacy switch is closed
    /// Where there is no PipeWire this is to be asked before a session starts: afterwards the
    /// device is busy with that.
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

    /// The format that a session takes from this camera.
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
