#pragma once

#include "platform/ui/WindowController.h"

#include <QStringList>

#include <memory>

class QCheckBox;
class QComboBox;
class QSlider;

namespace Ui {
class PrefsWindow;
}

namespace vellumcap {

/// The preferences: camera, contrast and mirroring. Made on first use and kept. Main thread.
class PrefsWindow : public platform::WindowController {
    Q_OBJECT
public:
    explicit PrefsWindow(const QString& windowNibName);
    ~PrefsWindow() override;

    // Outlets, null until the window is loaded.
    QComboBox* cameraMenu = nullptr;
    /// Contrast in percent, neutral at 0, to the nearest whole step.
    QSlider* contrastSlider = nullptr;
    QCheckBox* mirrorVideoCheckbox = nullptr;

    /// The cameras' unique identifiers, in the order of the menu's items.
    const QStringList& devices() const { return m_devices; }

    void showWindow(QObject* sender) override;
    /// Lists the cameras anew and selects the stored one, else the default one, else none.
    void updateMenu();

    void menuSelected(QObject* sender);
    void contrastChanged(QObject* sender);
    void mirrorVideoChanged(QObject* sender);

protected:
    std::unique_ptr<QWidget> loadWindow() override;
    void windowDidLoad() override;

private:
    void showContrast();
    void setContrast(double contrast);

    std::unique_ptr<Ui::PrefsWindow> m_ui;
    double m_contrast = 0; ///< as it is stored, which may be between the steps or beyond them
    QStringList m_devices;
};

} // namespace vellumcap
