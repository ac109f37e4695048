#include "camera/ScanningWindow.h"

#include "camera/FramePreparation.h"
#include "platform/camera/CameraView.h"
#include "platform/camera/CaptureConnection.h"
#include "platform/camera/CaptureDevice.h"
#include "platform/camera/CaptureDeviceInput.h"
#include "platform/camera/CaptureSession.h"
#include "platform/camera/CaptureVideoDataOutput.h"
#include "platform/camera/CaptureVideoPreviewLayer.h"
#include "platform/graphics/ImageFilter.h"
#include "platform/services/Dispatch.h"

#include <QWidget>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

using platform::CaptureDevice;
using platform::CaptureSession;
using platform::ImageFilter;

const auto exposureName = u"exposure"_s;
const auto contrastName = u"contrast"_s;

const auto cameraKey = u"pref-camera-id"_s;
const auto contrastKey = u"pref-camera-contrast"_s;
const auto mirrorKey = u"pref-mirror-video"_s;

/// The chosen camera; the default one if that is not connected or none was chosen.
std::optional<CaptureDevice> cameraToUse(const std::optional<QString>& chosenID)
{
    using platform::MediaType;
    std::optional<CaptureDevice> device;
    if (chosenID) {
        device = CaptureDevice::deviceWithUniqueID(*chosenID);
    }
    for (const MediaType type : { MediaType::Video, MediaType::Muxed }) {
        if (!device) {
            device = CaptureDevice::defaultDeviceWithMediaType(type);
        }
    }
    return device;
}

std::shared_ptr<ImageFilter> namedFilter(ImageFilter::Kind kind, const QString& name)
{
    auto filter = std::make_shared<ImageFilter>(kind);
    filter->setName(name);
    return filter;
}

QString captionFor(platform::Interruption interruption)
{
    using platform::Interruption;
    switch (interruption) {
    case Interruption::None:
        return {};
    case Interruption::NoCamera:
        return u"No camera is connected"_s;
    case Interruption::Unplugged:
        return u"The camera was unplugged\n\nPlug it in again to go on"_s;
    case Interruption::Stalled:
        return u"The camera sends no picture"_s;
    case Interruption::Refused:
        return u"The camera cannot be opened\n\nAnother program may be using it"_s;
    }
    Q_UNREACHABLE();
}

} // namespace

ScanningWindow::ScanningWindow(FramePipeline::WhileOffering whileOffering)
    : m_whileOffering(whileOffering)
{
}

ScanningWindow::~ScanningWindow()
{
    endPreferenceObservations();
}

void ScanningWindow::endPreferenceObservations()
{
    m_contrastObservation.end();
    m_mirrorObservation.end();
}

void ScanningWindow::windowDidLoad()
{
    window()->setWindowTitle(u"Capture"_s);
    prepareControls();
    m_session = std::make_shared<CaptureSession>();
    m_session->setInterruptionObserver([this] { showInterruption(); });
    const auto chosenID = platform::UserDefaults::standard().stringForKey(cameraKey);
    observePreferences();
    auto device = cameraToUse(chosenID);
    configureDevice(device);
    m_deviceInput = platform::CaptureDeviceInput::create(device);
    m_session->addInput(m_deviceInput);
    addOutput();
    outputWasAdded(device);
    buildCoreFilterArray(); // for the scanner; there is no preview yet
    addPreview();
    buildCoreFilterArray(); // for the preview
    m_session->startRunning();
    showInterruption();
    sessionWasStarted();
}

void ScanningWindow::observePreferences()
{
    auto& defaults = platform::UserDefaults::standard();
    m_contrastObservation = defaults.observe(contrastKey, [this] { buildCoreFilterArray(); });
    m_mirrorObservation = defaults.observe(mirrorKey, [this] { followMirroring(); });
}

void ScanningWindow::addOutput()
{
    m_videoDataOutput = std::make_shared<platform::CaptureVideoDataOutput>();
    m_pipeline = std::make_shared<FramePipeline>(FramePipeline::Setup{
        .offer = m_offer,
        .whileOffering = m_whileOffering,
        .accepted =
            [this, guard = lifeGuard()](const AcceptedCode& code) {
                platform::dispatchMain(guard, [this, code] { codeWasAccepted(code); });
            },
    });
    m_videoDataOutput->setSampleBufferDelegate(
        m_pipeline, std::make_shared<platform::SerialQueue>("aQueue"));
    m_session->addOutput(m_videoDataOutput);
}

void ScanningWindow::buildCoreFilterArray()
{
    using Kind = ImageFilter::Kind;
    if (!m_previewF1) {
        m_previewF1 = namedFilter(Kind::ExposureAdjust, exposureName);
        m_previewF2 = namedFilter(Kind::ColorControls, contrastName);
        m_scannerF1 = namedFilter(Kind::ExposureAdjust, exposureName);
        m_scannerF2 = namedFilter(Kind::ColorControls, contrastName);
    }
    const double setting = platform::UserDefaults::standard().doubleForKey(contrastKey);
    const double exposure = 0.5 + setting / 100;
    const double contrast = setting / 100 + 1;
    if (m_preview) {
        m_preview->filterNamed(exposureName)->setValue(exposure);
        m_preview->filterNamed(contrastName)->setValue(contrast);
        m_preview->setNeedsDisplay();
    }
    m_scannerF1->setValue(exposure);
    m_scannerF2->setValue(contrast);
}

void ScanningWindow::addPreview()
{
    m_preview = std::make_shared<platform::CaptureVideoPreviewLayer>(m_session);
    m_preview->setFilters({ m_previewF1, m_previewF2 });
    followMirroring();
    cameraImageView().setLayer(m_preview);
    m_pipeline->setPreparation({ m_scannerF1, m_scannerF2 }, m_preview->connection());
}

void ScanningWindow::followMirroring()
{
    const auto connection = m_preview ? m_preview->connection() : nullptr;
    if (connection) {
        connection->setVideoMirrored(isVideoMirrored());
        m_preview->setNeedsDisplay();
    }
}

void ScanningWindow::showInterruption()
{
    if (m_session) {
        cameraImageView().setCaption(captionFor(m_session->interruption()));
    }
}

void ScanningWindow::releaseSession()
{
    cameraImageView().setLayer(nullptr);
    m_session.reset();
    m_deviceInput.reset();
    m_videoDataOutput.reset();
    m_preview.reset();
}

void ScanningWindow::windowWillClose()
{
    if (m_session) {
        m_session->stopRunning();
    }
}

bool ScanningWindow::windowShouldClose()
{
    cancelCapture();
    return true;
}

} // namespace vellumcap
