#pragma once

#include "camera/ScanningWindow.h"
#include "platform/camera/CaptureDevice.h"

#include <array>

namespace Ui {
class CaptureWindow;
}

namespace platform {
class ImageView;
}

namespace vellumcap {

/// Scans for one code at a time: the first new one stops the camera and is offered to be kept,
/// skipped or opened. A sheet of the journal; a new one for every scan. Main thread.
class CaptureWindow final : public ScanningWindow {
    Q_OBJECT
public:
    explicit CaptureWindow(const QString& windowNibName);
    ~CaptureWindow() override;

    // Outlets, null until the window is loaded.
    QPushButton* buttonSkip = nullptr;
    QPushButton* buttonSave = nullptr;
    QPushButton* buttonOpenLink = nullptr;
    platform::ImageView* capturedImageView = nullptr; ///< hidden while scanning

    /// 0: scanning, frames are examined; 1: a code is on offer, frames are ignored.
    qint32 captureState() const { return offer().captureState(); }
    /// The camera in use; kept when the session is released.
    const std::optional<platform::CaptureDevice>& mCaptureDevice() const { return m_device; }

    void confirmCapture();
    void resumeCapturing();

    void skipCapture(QObject* sender);
    void saveCapture(QObject* sender);
    void openLink(QObject* sender);
    void cancelCapture(QObject* sender) override;

protected:
    std::unique_ptr<QWidget> loadWindow() override;
    void prepareControls() override;
    void configureDevice(std::optional<platform::CaptureDevice>& chosen) override;
    void outputWasAdded(const std::optional<platform::CaptureDevice>& device) override;
    void codeWasAccepted(const AcceptedCode& code) override;

private:
    void endAdjustmentObservations();
    void enableButtonsForScanning();

    std::unique_ptr<Ui::CaptureWindow> m_ui;
    std::optional<platform::CaptureDevice> m_device;
    std::array<std::unique_ptr<platform::AdjustmentObservation>, 3> m_adjustments;
};

} // namespace vellumcap
