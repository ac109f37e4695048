#include "camera/PrefsWindow.h"

#include "platform/camera/CaptureDevice.h"
#include "platform/services/Log.h"
#include "platform/services/UserDefaults.h"
#include "ui_PrefsWindow.h"

#include <QDialog>
#include <QSignalBlocker>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

const auto cameraKey = u"pref-camera-id"_s;
const auto contrastKey = u"pref-camera-contrast"_s;
const auto mirrorKey = u"pref-mirror-video"_s;

} // namespace

PrefsWindow::PrefsWindow()
    : m_ui(std::make_unique<Ui::PrefsWindow>())
{
}

PrefsWindow::~PrefsWindow() = default;

std::unique_ptr<QWidget> PrefsWindow::loadWindow()
{
    auto window = std::make_unique<QDialog>();
    m_ui->setupUi(window.get());
    return window;
}

void PrefsWindow::windowDidLoad()
{
    const auto& defaults = platform::UserDefaults::standard();
    m_contrast = defaults.doubleForKey(contrastKey);
    m_ui->mirrorVideoCheckbox->setChecked(defaults.integerForKey(mirrorKey) != 0);
    showContrast();
    connect(m_ui->cameraMenu, &QComboBox::activated, this, &PrefsWindow::menuSelected);
    connect(m_ui->contrastSlider, &QSlider::valueChanged, this, &PrefsWindow::setContrast);
    connect(m_ui->mirrorVideoCheckbox, &QCheckBox::toggled, this, &PrefsWindow::mirrorVideoChanged);
    connect(m_ui->resetContrast, &QToolButton::clicked, this, [this] { setContrast(0); });
}

void PrefsWindow::showWindow()
{
    WindowController::showWindow();
    updateMenu();
}

void PrefsWindow::updateMenu()
{
    using platform::CaptureDevice;
    using platform::MediaType;
    const auto stored = platform::UserDefaults::standard().stringForKey(cameraKey);
    const auto standard = CaptureDevice::defaultDeviceWithMediaType(MediaType::Video);
    m_devices.clear();
    m_ui->cameraMenu->clear();
    for (const MediaType type : { MediaType::Video, MediaType::Muxed }) {
        for (const CaptureDevice& device : CaptureDevice::devicesWithMediaType(type)) {
            m_ui->cameraMenu->addItem(device.localizedName());
            m_devices.append(device.uniqueID());
        }
    }
    const qsizetype standardIndex = standard ? m_devices.indexOf(standard->uniqueID()) : -1;
    const qsizetype storedIndex = stored ? m_devices.indexOf(*stored) : -1;
    m_ui->cameraMenu->setCurrentIndex(
        static_cast<int>(storedIndex >= 0 ? storedIndex : standardIndex));
    m_ui->cameraMenu->setEnabled(!m_devices.isEmpty());
}

void PrefsWindow::menuSelected()
{
    const int index = m_ui->cameraMenu->currentIndex();
    if (index < 0) {
        return;
    }
    auto& defaults = platform::UserDefaults::standard();
    defaults.setString(cameraKey, m_devices.at(index));
    defaults.synchronize();
}

void PrefsWindow::showContrast()
{
    const QSignalBlocker noChange(m_ui->contrastSlider);
    m_ui->contrastSlider->setValue(qRound(std::clamp<double>(
        m_contrast, m_ui->contrastSlider->minimum(), m_ui->contrastSlider->maximum())));
    m_ui->contrastValue->setNum(m_contrast);
}

void PrefsWindow::setContrast(double contrast)
{
    if (contrast != m_contrast) {
        m_contrast = contrast;
        showContrast();
        contrastChanged();
    }
}

void PrefsWindow::contrastChanged()
{
    platform::log(u"Contrast value %1"_s.arg(m_contrast, 0, 'f', 6));
    platform::UserDefaults::standard().setDouble(contrastKey, m_contrast);
}

void PrefsWindow::mirrorVideoChanged()
{
    platform::UserDefaults::standard().setInteger(
        mirrorKey, m_ui->mirrorVideoCheckbox->isChecked() ? 1 : 0);
}

} // namespace vellumcap
