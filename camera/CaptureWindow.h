#pragma once

#include "camera/ScanningWindow.h"
#include "platform/camera/CaptureDevice.h"

#include <array>

namespace Ui {
class CaptureWindow;
}

namespace vellumcap {

class OfferControls;

/// Scans for one code at a time: the first new one stops the camera, and the user can save, skip or
/// open it. A sheet of the journal window, created for each scan. Main thread.
class CaptureWindow final : public ScanningWindow {
    Q_OBJECT
public:
    CaptureWindow();
    ~CaptureWindow() override;

    /// 0: scanning, frames are examined; 1: a code is on offer, frames are ignored.
    qint32 captureState() const { return offer().captureState(); }
    /// The camera of the session; stays when the session is released.
    const std::optional<platform::CaptureDevice>& mCaptureDevice() const { return m_device; }

    void confirmCapture();
    void resumeCapturing();

    void skipCapture();
    void saveCapture();
    void openLink();
    void cancelCapture() override;

protected:
    std::unique_ptr<QWidget> loadWindow() override;
    platform::CameraView& cameraImageView() const override;
    void prepareControls() override;
    void configureDevice(std::optional<platform::CaptureDevice>& chosen) override;
    void outputWasAdded(const std::optional<platform::CaptureDevice>& device) override;
    void codeWasAccepted(const AcceptedCode& code) override;

private:
    std::unique_ptr<Ui::CaptureWindow> m_ui;
    std::unique_ptr<OfferControls> m_controls;
    std::optional<platform::CaptureDevice> m_device;
    std::array<std::unique_ptr<platform::AdjustmentObservation>, 3> m_adjustments;
};

} // namespace vellumcap
