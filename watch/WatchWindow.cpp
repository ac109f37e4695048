#include "watch/WatchWindow.h"

#include "app/Capture.h"
#include "app/VellumcapAppDelegate.h"
#include "journal/JournalWindow.h"
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

using Qt::StringLiterals::operator""_s;

namespace vellumcap {

namespace {

using namespace std::chrono_literals;
using platform::CaptureDevice;
using platform::UserDefaults;

constexpr auto resetDelay = 5s;

constexpr auto openInBackgroundKey = "watch-openURLInBackground";
constexpr auto saveCaptureKey = "watch-saveCapture";
constexpr auto closeOnFirstScanKey = "watch-closeOnFirstScan";
constexpr auto runScriptKey = "watch-runAppleScript";

constexpr int noScriptTag = 0; // of the popup's own item

bool isOptionOn(const char* key)
{
    return UserDefaults::standard().boolForKey(QString::fromLatin1(key));
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

WatchWindow::WatchWindow(const QString& windowNibName)
    : ScanningWindow(windowNibName, FramePipeline::WhileOffering::Examined)
    , m_ui(std::make_unique<Ui::WatchWindow>())
{
}

WatchWindow::~WatchWindow() = default;

std::unique_ptr<QWidget> WatchWindow::loadWindow()
{
    auto window = std::make_unique<QDialog>();
    m_ui->setupUi(window.get());
    textField = m_ui->textField;
    buttonCancel = m_ui->buttonCancel;
    cameraImageView = m_ui->cameraImageView;
    disclosureView = m_ui->disclosureView;
    disclosureTriangle = m_ui->disclosureTriangle;
    appleScriptMenu = m_ui->appleScriptMenu;
    appleScriptMenu->setItemData(0, noScriptTag);
    disclosureView->setFixedHeight(disclosureView->sizeHint().height());
    disclosureView->hide();
    connect(buttonCancel, &QPushButton::clicked, this, [this] { cancelCapture(buttonCancel); });
    connect(disclosureTriangle, &QToolButton::toggled, this,
        [this] { clickTriangle(disclosureTriangle); });
    connect(appleScriptMenu, &QComboBox::activated, this,
        [this] { appleScriptPopupAction(appleScriptMenu); });
    connect(m_ui->openScripts, &QPushButton::clicked, this,
        [this] { openScriptFolder(m_ui->openScripts); });
    connectOptions();
    return window;
}

/// The controls edit the settings, and show what others make of them.
void WatchWindow::connectOptions()
{
    const auto option = [this](QCheckBox* box, const char* latin1Key) {
        const QString key = QString::fromLatin1(latin1Key);
        const auto show = [box, latin1Key] { box->setChecked(isOptionOn(latin1Key)); };
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

void WatchWindow::prepareControls()
{
    buttonCancel->setEnabled(true);
}

void WatchWindow::configureDevice(std::optional<CaptureDevice>& chosen)
{
    if (!chosen) {
        platform::log(u"(null)"_s);
        return;
    }
    CaptureDevice& device = *chosen;
    // Unlocked in any case.
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
        appleScriptMenu->addItem(name, tag++);
    }
    if (m_scriptedScriptName && scripts.contains(*m_scriptedScriptName)) {
        appleScriptMenu->setCurrentIndex(appleScriptMenu->findText(
            *m_scriptedScriptName, Qt::MatchExactly | Qt::MatchCaseSensitive));
    }
}

/// Every code is handled with its own text and picture, whatever is found or reset meanwhile. A
/// code that comes while an error is shown waits, and the window may be gone behind it.
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
    textField->setStringValue(m_code.text);
    buttonCancel->setEnabled(true);
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
        cancelCapture(nullptr);
    }
    if (isOptionOn(runScriptKey)) {
        runChosenScript();
    }
    resetCaptureDataLater();
}

void WatchWindow::openLink()
{
    using platform::Workspace::Activation;
    platform::Workspace::open(QUrl(m_code.text, QUrl::StrictMode),
        isOptionOn(openInBackgroundKey) ? Activation::Background : Activation::Foreground);
}

void WatchWindow::saveCapture()
{
    Capture::storeCapture(m_code.picture, m_code.text);
    VellumcapAppDelegate::shared().journalWindow()->refreshLists();
}

/// The script gets the text as it is when its turn comes, unless that has been reset by then.
void WatchWindow::runChosenScript()
{
    if (appleScriptMenu->currentData().toInt() < firstScriptTag) {
        return;
    }
    const QUrl location = m_appleScripts.value(appleScriptMenu->currentText());
    platform::dispatchScript([location, handled = m_code.text, offer = sharedOffer()] {
        const QString current = offer->captureData().value_or(QString());
        executeScriptWithPath(
            location.toLocalFile(), u"scanned_code"_s, { current.isEmpty() ? handled : current });
    });
}

/// From then on the same code is another one. Resets are never postponed, and outlive the window.
void WatchWindow::resetCaptureDataLater()
{
    platform::dispatchMainAfter(resetDelay, sharedOffer(), [offer = sharedOffer()] {
        platform::log(u"Reset capture data"_s);
        offer->setCaptureData(u""_s);
    });
}

/// A sheet hangs from its window: what is above the panel stays where it is on the screen, and the
/// room for the panel is added below.
void WatchWindow::clickTriangle(QObject* /*sender*/)
{
    const int height = disclosureView->height();
    QWidget* sheet = window();
    if (disclosureTriangle->isChecked()) {
        disclosureTriangle->setArrowType(Qt::DownArrow);
        sheet->resize(sheet->width(), sheet->height() + height);
        disclosureView->show();
    } else {
        disclosureTriangle->setArrowType(Qt::RightArrow);
        disclosureView->hide();
        sheet->layout()->activate(); // or the least size with the panel keeps it from shrinking
        sheet->resize(sheet->width(), sheet->height() - height);
    }
}

void WatchWindow::appleScriptPopupAction(QObject* /*sender*/)
{
    platform::log(appleScriptMenu->currentText());
}

void WatchWindow::openScriptFolder(QObject* /*sender*/)
{
    const QUrl folder = scriptFolder();
    if (!folder.isEmpty()) {
        platform::Workspace::showFolder(folder.toLocalFile());
    }
    appleScriptMenu->setCurrentIndex(appleScriptMenu->findData(noScriptTag));
}

void WatchWindow::cancelCapture(QObject* /*sender*/)
{
    mCaptureSession()->stopRunning();
    platform::dispatchMain(
        lifeGuard(), [this] { platform::Application::shared().endSheet(window()); });
    window()->hide();
}

void WatchWindow::performClose(QObject* sender)
{
    cancelCapture(sender);
}

/// To everything but what is meant for the delegate.
bool WatchWindow::respondsTo(const QAction& item) const
{
    return !VellumcapAppDelegate::shared().respondsTo(item);
}

bool WatchWindow::validateMenuItem(const QAction& item) const
{
    return item.objectName() == u"closeWindow"_s;
}

void WatchWindow::perform(QAction& item)
{
    performClose(&item);
}

} // namespace vellumcap
