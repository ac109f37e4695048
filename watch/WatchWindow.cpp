#include "watch/WatchWindow.h"

#include "app/Capture.h"
#include "app/StoreStack.h"
#include "platform/camera/CameraView.h"
#include "platform/camera/CaptureDevice.h"
#include "platform/camera/CaptureSession.h"
#include "platform/script/ScriptThreads.h"
#include "platform/services/Dispatch.h"
#include "platform/services/Log.h"
#include "platform/services/Workspace.h"
#include "platform/ui/Application.h"
#include "platform/ui/TextField.h"
#include "ui_WatchWindow.h"
#include "watch/ScriptRunner.h"

#include <QAction>
#include <QDialog>
#include <QLayout>
#include <QUrl>

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

using namespace std::chrono_literals;
using platform::CaptureDevice;
using platform::UserDefaults;

constexpr auto resetDelay = 5s;

const auto openInBackgroundKey = u"watch-openURLInBackground"_s;
const auto saveCaptureKey = u"watch-saveCapture"_s;
const auto closeOnFirstScanKey = u"watch-closeOnFirstScan"_s;
const auto runScriptKey = u"watch-runAppleScript"_s;

constexpr int noScriptTag = 0; // of the item "No script"

bool isOptionOn(const QString& key)
{
    return UserDefaults::standard().boolForKey(key);
}

QString described(const QList<platform::FrameRateRange>& ranges)
{
    QStringList texts;
    for (const platform::FrameRateRange& range : ranges) {
        texts.append(
            u"%1 - %2"_s.arg(range.minFrameRate, 0, 'f', 2).arg(range.maxFrameRate, 0, 'f', 2));
    }
    return u"(%1)"_s.arg(texts.join(u", "_s));
}

} // namespace

WatchWindow::WatchWindow()
    : ScanningWindow(FramePipeline::WhileOffering::Examined)
    , m_ui(std::make_unique<Ui::WatchWindow>())
{
}

WatchWindow::~WatchWindow() = default;

std::unique_ptr<QWidget> WatchWindow::loadWindow()
{
    auto window = std::make_unique<QDialog>();
    m_ui->setupUi(window.get());
    m_ui->appleScriptMenu->setItemData(0, noScriptTag);
    m_ui->disclosureView->setFixedHeight(m_ui->disclosureView->sizeHint().height());
    m_ui->disclosureView->hide();
    connect(m_ui->buttonCancel, &QPushButton::clicked, this, &WatchWindow::cancelCapture);
    connect(m_ui->disclosureTriangle, &QToolButton::toggled, this, &WatchWindow::clickTriangle);
    connect(
        m_ui->appleScriptMenu, &QComboBox::activated, this, &WatchWindow::appleScriptPopupAction);
    connect(m_ui->openScripts, &QPushButton::clicked, this, &WatchWindow::openScriptFolder);
    connectOptions();
    return window;
}

/// Connects the check boxes with the settings, in both directions.
void WatchWindow::connectOptions()
{
    const auto option = [this](QCheckBox* box, const QString& key) {
        const auto show = [box, key] { box->setChecked(isOptionOn(key)); };
        show();
        connect(box, &QCheckBox::clicked, this,
            [key](bool on) { UserDefaults::standard().setBool(key, on); });
        m_optionObservations.push_back(UserDefaults::standard().observe(key, show));
    };
    option(m_ui->openInBackground, openInBackgroundKey);
    option(m_ui->saveCapture, saveCaptureKey);
    option(m_ui->closeOnFirstScan, closeOnFirstScanKey);
    option(m_ui->runScript, runScriptKey);
}

platform::CameraView& WatchWindow::cameraImageView() const
{
    return *m_ui->cameraImageView;
}

void WatchWindow::configureDevice(std::optional<CaptureDevice>& chosen)
{
    if (!chosen) {
        platform::log(u"(null)"_s);
        return;
    }
    CaptureDevice& device = *chosen;
    // unlockForConfiguration() is also called when locking has failed.
    const auto locked = [&device](const auto& set) {
        if (device.lockForConfiguration()) {
            set();
        }
        device.unlockForConfiguration();
    };
    using platform::ExposureMode;
    using platform::FocusMode;
    if (device.isFocusModeSupported(FocusMode::ContinuousAutoFocus)) {
        locked([&device] { device.setFocusMode(FocusMode::ContinuousAutoFocus); });
    }
    if (device.isExposureModeSupported(ExposureMode::ContinuousAutoExposure)) {
        locked([&device] { device.setExposureMode(ExposureMode::ContinuousAutoExposure); });
    }
    platform::log(described(device.activeFormat().videoSupportedFrameRateRanges));
}

void WatchWindow::sessionWasStarted()
{
    m_appleScripts.clear();
    platform::dispatchGlobal(
        platform::QualityOfService::UserInitiated, [this, guard = lifeGuard()] {
            platform::dispatchMain(
                guard, [this, scripts = scanScriptFolder()] { listScripts(scripts); });
        });
}

void WatchWindow::listScripts(const ScriptTable& scripts)
{
    m_appleScripts = scripts;
    int tag = firstScriptTag;
    for (const QString& name : scripts.keys()) {
        m_ui->appleScriptMenu->addItem(name, tag++);
    }
    if (m_scriptedScriptName && scripts.contains(*m_scriptedScriptName)) {
        m_ui->appleScriptMenu->setCurrentIndex(m_ui->appleScriptMenu->findText(
            *m_scriptedScriptName, Qt::MatchExactly | Qt::MatchCaseSensitive));
    }
}

/// Handles every code with its own text and picture, even if another one is found or the text is
/// reset meanwhile. A code that is accepted while an error alert is shown waits. The window may be
/// destroyed behind the alert.
void WatchWindow::codeWasAccepted(const AcceptedCode& code)
{
    m_waiting.append(code);
    if (m_isHandling) {
        return;
    }
    m_isHandling = true;
    const auto life = lifeGuard();
    while (!life.expired() && !m_waiting.isEmpty()) {
        m_code = m_waiting.takeFirst();
        processCapture();
    }
    if (!life.expired()) {
        m_isHandling = false;
    }
}

void WatchWindow::processCapture()
{
    m_ui->textField->setStringValue(m_code.text);
    if (Capture::isUrl(m_code.text)) {
        openLink();
    }
    const auto life = lifeGuard();
    if (isOptionOn(saveCaptureKey)) {
        saveCapture();
    }
    if (life.expired()) {
        return;
    }
    if (isOptionOn(closeOnFirstScanKey)) {
        cancelCapture();
    }
    if (isOptionOn(runScriptKey)) {
        runChosenScript();
    }
    resetCaptureDataLater();
}

void WatchWindow::openLink()
{
    using platform::Workspace::Activation;
    platform::Workspace::open(m_code.text,
        isOptionOn(openInBackgroundKey) ? Activation::Background : Activation::Foreground);
}

void WatchWindow::saveCapture()
{
    StoreStack::shared().storeCapture(m_code.picture, m_code.text);
}

/// The script gets the current text of the offer when its job starts, or the handled text if the
/// current one was reset.
void WatchWindow::runChosenScript()
{
    if (m_ui->appleScriptMenu->currentData().toInt() < firstScriptTag) {
        return;
    }
    const QUrl location = m_appleScripts.value(m_ui->appleScriptMenu->currentText());
    platform::dispatchScript([location, handled = m_code.text, offer = sharedOffer()] {
        const QString current = offer->captureData().value_or(QString());
        executeScriptWithPath(
            location.toLocalFile(), u"scanned_code"_s, { current.isEmpty() ? handled : current });
    });
}

/// After the reset the same code counts as a new one. A reset runs even if the window is closed.
void WatchWindow::resetCaptureDataLater()
{
    platform::dispatchMainAfter(resetDelay, sharedOffer(), [offer = sharedOffer()] {
        platform::log(u"Reset capture data"_s);
        offer->setCaptureData(u""_s);
    });
}

/// A sheet is attached at its top: the controls above the panel keep their position, and the sheet
/// grows at the bottom.
void WatchWindow::clickTriangle()
{
    const int height = m_ui->disclosureView->height();
    QWidget* sheet = window();
    if (m_ui->disclosureTriangle->isChecked()) {
        m_ui->disclosureTriangle->setArrowType(Qt::DownArrow);
        sheet->resize(sheet->width(), sheet->height() + height);
        m_ui->disclosureView->show();
    } else {
        m_ui->disclosureTriangle->setArrowType(Qt::RightArrow);
        m_ui->disclosureView->hide();
        sheet->layout()->activate(); // else the minimum size with the panel applies
        sheet->resize(sheet->width(), sheet->height() - height);
    }
}

void WatchWindow::appleScriptPopupAction()
{
    platform::log(m_ui->appleScriptMenu->currentText());
}

void WatchWindow::openScriptFolder()
{
    const QUrl folder = scriptFolder();
    if (!folder.isEmpty()) {
        platform::Workspace::showFolder(folder.toLocalFile());
    }
    m_ui->appleScriptMenu->setCurrentIndex(m_ui->appleScriptMenu->findData(noScriptTag));
}

void WatchWindow::cancelCapture()
{
    mCaptureSession()->stopRunning();
    endSheetLater();
}

void WatchWindow::performClose()
{
    cancelCapture();
}

/// To every item except those of the delegate.
bool WatchWindow::respondsTo(const QAction& item) const
{
    return !platform::Application::shared().delegate()->respondsTo(item);
}

bool WatchWindow::validateMenuItem(const QAction& item) const
{
    return item.objectName() == u"closeWindow"_s;
}

void WatchWindow::perform(QAction& /*item*/)
{
    performClose();
}

} // namespace vellumcap
