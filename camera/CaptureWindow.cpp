#include "camera/CaptureWindow.h"

#include "camera/OfferControls.h"
#include "platform/camera/CameraView.h"
#include "platform/camera/CaptureSession.h"
#include "platform/services/Log.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/Sheet.h"
#include "platform/ui/TextField.h"
#include "ui_CaptureWindow.h"

#include <QDialog>

#include <initializer_list>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

using platform::CaptureDevice;
using platform::ExposureMode;
using platform::FocusMode;
using platform::WhiteBalanceMode;

/// Sets the first of the modes that the camera supports, if it can be locked for configuration.
template <typename Mode>
void setFirstSupported(CaptureDevice& device, bool (CaptureDevice::*isSupported)(Mode) const,
    void (CaptureDevice::*set)(Mode), std::initializer_list<Mode> modes)
{
    for (const Mode mode : modes) {
        if ((device.*isSupported)(mode)) {
            if (device.lockForConfiguration()) {
                (device.*set)(mode);
                device.unlockForConfiguration();
            }
            return;
        }
    }
}

/// The log line contains the change (kind 1: a value was set) and the context, which is null.
void logAdjustment(const QString& what)
{
    platform::log(u"Camera %1 is adjusting {kind = 1} - (null)"_s.arg(what));
}

} // namespace

CaptureWindow::CaptureWindow()
    : ScanningWindow(FramePipeline::WhileOffering::Ignored)
    , m_ui(std::make_unique<Ui::CaptureWindow>())
{
}

/// The observations of preferences end before those of the device.
CaptureWindow::~CaptureWindow()
{
    endPreferenceObservations();
}

std::unique_ptr<QWidget> CaptureWindow::loadWindow()
{
    auto window = std::make_unique<QDialog>();
    m_ui->setupUi(window.get());
    m_controls = std::make_unique<OfferControls>(
        OfferControls::Widgets{
            *m_ui->textField, *m_ui->buttonSave, *m_ui->buttonSkip, *m_ui->buttonOpenLink },
        sharedOffer());
    m_ui->capturedImageView->hide();
    connect(m_ui->buttonCancel, &QPushButton::clicked, this, &CaptureWindow::cancelCapture);
    connect(m_ui->buttonSkip, &QPushButton::clicked, this, &CaptureWindow::skipCapture);
    connect(m_ui->buttonSave, &QPushButton::clicked, this, &CaptureWindow::saveCapture);
    connect(m_ui->buttonOpenLink, &QPushButton::clicked, this, &CaptureWindow::openLink);
    return window;
}

platform::CameraView& CaptureWindow::cameraImageView() const
{
    return *m_ui->cameraImageView;
}

void CaptureWindow::prepareControls()
{
    offer().setCaptureState(0);
    m_controls->clearOffer();
}

void CaptureWindow::configureDevice(std::optional<CaptureDevice>& chosen)
{
    if (!chosen || chosen->isSuspended() || chosen->isInUseByAnotherApplication()) {
        return;
    }
    CaptureDevice& device = *chosen;
    setFirstSupported(device, &CaptureDevice::isFocusModeSupported, &CaptureDevice::setFocusMode,
        { FocusMode::ContinuousAutoFocus, FocusMode::AutoFocus });
    setFirstSupported(device, &CaptureDevice::isExposureModeSupported,
        &CaptureDevice::setExposureMode,
        { ExposureMode::ContinuousAutoExposure, ExposureMode::AutoExpose });
    setFirstSupported(device, &CaptureDevice::isWhiteBalanceModeSupported,
        &CaptureDevice::setWhiteBalanceMode,
        { WhiteBalanceMode::ContinuousAutoWhiteBalance, WhiteBalanceMode::AutoWhiteBalance });
}

void CaptureWindow::outputWasAdded(const std::optional<CaptureDevice>& device)
{
    m_device = device;
    if (!m_device) {
        return;
    }
    using Adjustment = CaptureDevice::Adjustment;
    m_adjustments = {
        m_device->observe(Adjustment::Focus, [](bool) { logAdjustment(u"focus"_s); }),
        m_device->observe(Adjustment::Exposure, [](bool) { logAdjustment(u"exposure"_s); }),
        m_device->observe(
            Adjustment::WhiteBalance, [](bool) { logAdjustment(u"white balance"_s); }),
    };
}

/// Sets state and picture again: Skip may have cleared them after the code was accepted.
void CaptureWindow::codeWasAccepted(const AcceptedCode& code)
{
    if (captureData() == code.text) {
        offer().setCaptureState(1);
        offer().setCapturedImage(code.picture);
    }
    confirmCapture();
}

void CaptureWindow::confirmCapture()
{
    m_controls->showOffer();
    m_ui->capturedImageView->setImage(capturedImage());
    m_ui->capturedImageView->show();
    if (mCaptureSession()) {
        mCaptureSession()->stopRunning();
    }
}

void CaptureWindow::resumeCapturing()
{
    m_controls->clearOffer();
    m_ui->capturedImageView->setImage(QImage());
    m_ui->capturedImageView->hide();
    if (mCaptureSession()) {
        mCaptureSession()->startRunning();
    }
    offer().setCaptureState(0);
}

void CaptureWindow::skipCapture()
{
    resumeCapturing();
}

void CaptureWindow::saveCapture()
{
    m_controls->storeCode();
    skipCapture();
}

void CaptureWindow::openLink()
{
    m_controls->openLink();
}

void CaptureWindow::cancelCapture()
{
    if (mCaptureSession() && mCaptureSession()->isRunning()) {
        mCaptureSession()->stopRunning();
    }
    releaseSession();
    m_adjustments = {}; // an observation keeps the device open
    platform::endSheet(window());
    window()->hide();
}

} // namespace vellumcap
