#include "camera/CaptureWindow.h"

#include "app/Capture.h"
#include "app/StoreStack.h"
#include "platform/camera/CameraView.h"
#include "platform/camera/CaptureSession.h"
#include "platform/services/Log.h"
#include "platform/services/Workspace.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/Sheet.h"
#include "platform/ui/TextField.h"
#include "ui_CaptureWindow.h"

#include <QDialog>
#include <QUrl>

#include <initializer_list>

using Qt::StringLiterals::operator""_s;

namespace vellumcap {

namespace {

using platform::CaptureDevice;
using platform::ExposureMode;
using platform::FocusMode;
using platform::WhiteBalanceMode;

/// Sets the first of the modes that the camera supports, if it lets itself be configured.
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

/// What is told of a change is its kind alone: a value was set. There is no context.
void logAdjustment(const QString& what)
{
    platform::log(u"Camera %1 is adjusting {kind = 1} - (null)"_s.arg(what));
}

} // namespace

CaptureWindow::CaptureWindow(const QString& windowNibName)
    : ScanningWindow(windowNibName, FramePipeline::WhileOffering::Ignored)
    , m_ui(std::make_unique<Ui::CaptureWindow>())
{
}

CaptureWindow::~CaptureWindow()
{
    endPreferenceObservations();
    endAdjustmentObservations();
}

void CaptureWindow::endAdjustmentObservations()
{
    for (auto& observation : m_adjustments) {
        observation.reset();
    }
}

std::unique_ptr<QWidget> CaptureWindow::loadWindow()
{
    auto window = std::make_unique<QDialog>();
    m_ui->setupUi(window.get());
    textField = m_ui->textField;
    buttonCancel = m_ui->buttonCancel;
    buttonSkip = m_ui->buttonSkip;
    buttonSave = m_ui->buttonSave;
    buttonOpenLink = m_ui->buttonOpenLink;
    capturedImageView = m_ui->capturedImageView;
    cameraImageView = m_ui->cameraImageView;
    capturedImageView->hide();
    connect(buttonCancel, &QPushButton::clicked, this, [this] { cancelCapture(buttonCancel); });
    connect(buttonSkip, &QPushButton::clicked, this, [this] { skipCapture(buttonSkip); });
    connect(buttonSave, &QPushButton::clicked, this, [this] { saveCapture(buttonSave); });
    connect(buttonOpenLink, &QPushButton::clicked, this, [this] { openLink(buttonOpenLink); });
    return window;
}

void CaptureWindow::prepareControls()
{
    offer().setCaptureState(0);
    enableButtonsForScanning();
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

/// Skip may have cleared a code that was accepted meanwhile.
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
    const QString text = captureData().value_or(QString());
    textField->setStringValue(text);
    capturedImageView->setImage(capturedImage());
    capturedImageView->show();
    if (mCaptureSession()) {
        mCaptureSession()->stopRunning();
    }
    buttonOpenLink->setEnabled(Capture::isUrl(text));
    buttonSave->setEnabled(true);
    buttonSkip->setEnabled(true);
    buttonCancel->setEnabled(true);
}

void CaptureWindow::resumeCapturing()
{
    textField->setStringValue(QString());
    capturedImageView->setImage(QImage());
    capturedImageView->hide();
    offer().setCapturedImage(QImage());
    if (mCaptureSession()) {
        mCaptureSession()->startRunning();
    }
    enableButtonsForScanning();
    offer().setCaptureState(0);
}

void CaptureWindow::enableButtonsForScanning()
{
    buttonOpenLink->setEnabled(false);
    buttonSave->setEnabled(false);
    buttonSkip->setEnabled(false);
    buttonCancel->setEnabled(true);
}

void CaptureWindow::skipCapture(QObject* /*sender*/)
{
    resumeCapturing();
}

void CaptureWindow::saveCapture(QObject* sender)
{
    StoreStack::shared().storeCapture(capturedImage(), captureData().value_or(QString()));
    skipCapture(sender);
}

void CaptureWindow::openLink(QObject* /*sender*/)
{
    platform::Workspace::open(QUrl(captureData().value_or(QString()), QUrl::StrictMode));
}

void CaptureWindow::cancelCapture(QObject* /*sender*/)
{
    if (mCaptureSession() && mCaptureSession()->isRunning()) {
        mCaptureSession()->stopRunning();
    }
    releaseSession();
    endAdjustmentObservations(); // they would keep the device open
    platform::endSheet(window());
    window()->hide();
}

} // namespace vellumcap
