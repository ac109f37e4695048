#pragma once

#include "platform/ui/WindowController.h"

#include <QStringList>

#include <memory>

namespace Ui {
class PrefsWindow;
}

namespace vellumcap {

/// The preferences: camera, contrast and mirroring. Made on first use and kept. Main thread.
class PrefsWindow : public platform::WindowController {
    Q_OBJECT
public:
    PrefsWindow();
    ~PrefsWindow() override;

    /// The unique identifiers of the cameras, in the order of the menu.
    const QStringList& devices() const { return m_devices; }

    void showWindow() override;
    /// Lists the cameras again. Selects the stored camera, else the default one, else none.
    void updateMenu();

    void menuSelected();
    void contrastChanged();
    void mirrorVideoChanged();

protected:
    std::unique_ptr<QWidget> loadWindow() override;
    void windowDidLoad() override;

private:
    void showContrast();
    void setContrast(double contrast);

    std::unique_ptr<Ui::PrefsWindow> m_ui;
    double m_contrast = 0; ///< as stored: may lie between the slider's steps or outside its range
    QStringList m_devices;
};

} // namespace vellumcap
