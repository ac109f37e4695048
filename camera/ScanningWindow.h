#pragma once

#include "camera/CodeOnOffer.h"
#include "camera/FramePipeline.h"
#include "platform/services/UserDefaults.h"
#include "platform/ui/WindowController.h"

#include <QImage>

#include <memory>
#include <optional>

class QPushButton;

namespace platform {
class CameraView;
class CaptureDevice;
class CaptureDeviceInput;
class CaptureSession;
class CaptureVideoDataOutput;
class CaptureVideoPreviewLayer;
class ImageFilter;
class TextField;
} // namespace platform

namespace vellumcap {

/// What the windows with a camera share: the choice of the camera, its session, the live preview,
/// the way of its frames to their codes, and the preferences that all of these follow. What they
/// differ in are the functions that are left to them. Main thread.
class ScanningWindow : public platform::WindowController {
    Q_OBJECT
public:
    ~ScanningWindow() override;

    // Outlets, null until the window is loaded.
    platform::TextField* textField = nullptr;
    QPushButton* buttonCancel = nullptr;
    platform::CameraView* cameraImageView = nullptr;

    /// The text of the last code accepted; absent in a new window.
    std::optional<QString> captureData() const { return m_offer->captureData(); }
    /// The prepared frame in which it was found.
    QImage capturedImage() const { return m_offer->capturedImage(); }

    // Null until the window is loaded; the filters always come in this order.
    const std::shared_ptr<platform::ImageFilter>& previewF1() const { return m_previewF1; }
    const std::shared_ptr<platform::ImageFilter>& previewF2() const { return m_previewF2; }
    const std::shared_ptr<platform::ImageFilter>& scannerF1() const { return m_scannerF1; }
    const std::shared_ptr<platform::ImageFilter>& scannerF2() const { return m_scannerF2; }
    const std::shared_ptr<platform::CaptureSession>& mCaptureSession() const { return m_session; }
    const std::shared_ptr<platform::CaptureDeviceInput>& mCaptureDeviceInput() const
    {
        return m_deviceInput;
    }
    const std::shared_ptr<platform::CaptureVideoDataOutput>& mCaptureVideoDataOutput() const
    {
        return m_videoDataOutput;
    }
    const std::shared_ptr<platform::CaptureVideoPreviewLayer>& preview() const { return m_preview; }

    /// Makes the filters when they are not there yet, and gives both pairs the values that
    /// "pref-camera-contrast" asks for.
    void buildCoreFilterArray();

protected:
    ScanningWindow(const QString& windowNibName, FramePipeline::WhileOffering whileOffering);

    void windowDidLoad() final;
    void windowWillClose() final;
    bool windowShouldClose(QWidget* window) final;

    CodeOnOffer& offer() { return *m_offer; }
    const CodeOnOffer& offer() const { return *m_offer; }
    const std::shared_ptr<CodeOnOffer>& sharedOffer() const { return m_offer; }
    /// Lets go of the camera and of everything that was made for it.
    void releaseSession();
    void endPreferenceObservations();

    /// The state of the controls in a window that has just been loaded.
    virtual void prepareControls() = 0;
    /// Sets how the camera adjusts itself, before it is opened; there may be none.
    virtual void configureDevice(std::optional<platform::CaptureDevice>& device) = 0;
    /// The output is part of the session, which is not running yet.
    virtual void outputWasAdded(const std::optional<platform::CaptureDevice>& /*device*/) { }
    virtual void sessionWasStarted() { }
    /// A code has been accepted, and put on offer; another may have been since.
    virtual void codeWasAccepted(const AcceptedCode& code) = 0;
    virtual void cancelCapture(QObject* sender) = 0;

private:
    void observePreferences();
    void addOutput();
    void addPreview();
    void followMirroring();
    void showInterruption();

    const FramePipeline::WhileOffering m_whileOffering;
    std::shared_ptr<CodeOnOffer> m_offer = std::make_shared<CodeOnOffer>();
    std::shared_ptr<platform::ImageFilter> m_previewF1;
    std::shared_ptr<platform::ImageFilter> m_previewF2;
    std::shared_ptr<platform::ImageFilter> m_scannerF1;
    std::shared_ptr<platform::ImageFilter> m_scannerF2;
    std::shared_ptr<platform::CaptureSession> m_session;
    std::shared_ptr<platform::CaptureDeviceInput> m_deviceInput;
    std::shared_ptr<platform::CaptureVideoDataOutput> m_videoDataOutput;
    std::shared_ptr<platform::CaptureVideoPreviewLayer> m_preview;
    std::shared_ptr<FramePipeline> m_pipeline;
    std::unique_ptr<platform::UserDefaults::Observation> m_contrastObservation;
    std::unique_ptr<platform::UserDefaults::Observation> m_mirrorObservation;
};

} // namespace vellumcap
