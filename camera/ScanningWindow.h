#pragma once

#include "camera/CodeOnOffer.h"
#include "camera/FramePipeline.h"
#include "platform/services/UserDefaults.h"
#include "platform/ui/WindowController.h"

#include <QImage>

#include <memory>
#include <optional>

namespace platform {
class CameraView;
class CaptureDevice;
class CaptureDeviceInput;
class CaptureSession;
class CaptureVideoDataOutput;
class CaptureVideoPreviewLayer;
class ImageFilter;
} // namespace platform

namespace vellumcap {

/// What the scan window and the watch window have in common: the choice of the camera, its session,
/// the live preview, the search of frames, and the preferences for all of these. They differ in the
/// virtual functions. Main thread.
class ScanningWindow : public platform::WindowController {
    Q_OBJECT
public:
    ~ScanningWindow() override;

    /// The text of the last code accepted; absent in a new window.
    std::optional<QString> captureData() const { return m_offer->captureData(); }
    /// The prepared frame in which that code was found.
    QImage capturedImage() const { return m_offer->capturedImage(); }

    // Null until the window is loaded. The filter with number 1 is applied first.
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

    /// Creates the filters if there are none, and sets the values of both pairs from the
    /// preference "pref-camera-contrast".
    void buildCoreFilterArray();

protected:
    explicit ScanningWindow(FramePipeline::WhileOffering whileOffering);

    void windowDidLoad() final;
    void windowWillClose() final;
    bool windowShouldClose() final;

    CodeOnOffer& offer() { return *m_offer; }
    const CodeOnOffer& offer() const { return *m_offer; }
    const std::shared_ptr<CodeOnOffer>& sharedOffer() const { return m_offer; }
    /// Releases the camera's session, input, output and preview.
    void releaseSession();
    void endPreferenceObservations();

    /// The view for the preview. Called once the window is loaded.
    virtual platform::CameraView& cameraImageView() const = 0;
    /// Sets the initial state of the controls.
    virtual void prepareControls() { }
    /// Configures the automatic adjustments of the camera, if any, before it is opened.
    virtual void configureDevice(std::optional<platform::CaptureDevice>& device) = 0;
    /// Called when the session has its output, before it runs.
    virtual void outputWasAdded(const std::optional<platform::CaptureDevice>& /*device*/) { }
    virtual void sessionWasStarted() { }
    /// Called for each accepted code. A later one may already be on offer.
    virtual void codeWasAccepted(const AcceptedCode& code) = 0;
    virtual void cancelCapture() = 0;

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
    platform::Observation m_contrastObservation;
    platform::Observation m_mirrorObservation;
};

} // namespace vellumcap
