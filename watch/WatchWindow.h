#pragma once

#include "platform/ui/WindowController.h"

#include <memory>
#include <optional>

namespace Ui {
class WatchWindow;
}

namespace vellumcap {

class WatchWindow : public platform::WindowController {
    Q_OBJECT
public:
    explicit WatchWindow(const QString& windowNibName);
    ~WatchWindow() override;

    /// File name of the script to preselect; absent unless another program asked for one.
    const std::optional<QString>& scriptedScriptName() const { return m_scriptedScriptName; }
    void setScriptedScriptName(const QString& name) { m_scriptedScriptName = name; }

    void cancelCapture(QObject* sender);

protected:
    std::unique_ptr<QWidget> loadWindow() override;
    bool windowShouldClose(QWidget* window) override;

private:
    std::unique_ptr<Ui::WatchWindow> m_ui;
    std::optional<QString> m_scriptedScriptName;
};

} // namespace vellumcap
