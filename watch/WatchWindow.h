#pragma once

#include "camera/ScanningWindow.h"
#include "platform/ui/MenuResponder.h"
#include "watch/ScriptFolder.h"

#include <vector>

namespace Ui {
class WatchWindow;
}

namespace vellumcap {

/// Scans continuously and handles every new code without the user: opens links and, depending on
/// the options, stores the code, ends the watch, and runs a script of the user. A sheet of the
/// journal window, created for each watch. Main thread.
class WatchWindow final : public ScanningWindow, public platform::MenuResponder {
    Q_OBJECT
public:
    WatchWindow();
    ~WatchWindow() override;

    /// The scripts found by the search that loading the window starts.
    const ScriptTable& appleScripts() const { return m_appleScripts; }
    /// File name of the script to preselect; absent unless another program has given one.
    const std::optional<QString>& scriptedScriptName() const { return m_scriptedScriptName; }
    void setScriptedScriptName(const QString& name) { m_scriptedScriptName = name; }

    /// Handles the current code: shows, opens and stores it, ends the watch, runs the script.
    void processCapture();
    void saveCapture();
    void clickTriangle();
    void appleScriptPopupAction();
    void openScriptFolder();
    void cancelCapture() override;
    void performClose();

    bool respondsTo(const QAction& item) const override;
    bool validateMenuItem(const QAction& item) const override;
    void perform(QAction& item) override;

protected:
    std::unique_ptr<QWidget> loadWindow() override;
    platform::CameraView& cameraImageView() const override;
    void configureDevice(std::optional<platform::CaptureDevice>& chosen) override;
    void sessionWasStarted() override;
    void codeWasAccepted(const AcceptedCode& code) override;

private:
    void connectOptions();
    void openLink();
    void runChosenScript();
    void resetCaptureDataLater();
    void listScripts(const ScriptTable& scripts);

    std::unique_ptr<Ui::WatchWindow> m_ui;
    QList<AcceptedCode> m_waiting; ///< accepted while another code was being handled
    AcceptedCode m_code; ///< the code being handled, or the last one
    bool m_isHandling = false;
    ScriptTable m_appleScripts;
    std::optional<QString> m_scriptedScriptName;
    std::vector<platform::Observation> m_optionObservations;
};

} // namespace vellumcap
