#pragma once

#include "platform/ui/WindowController.h"

#include <memory>

namespace Ui {
class GenerateWindow;
}

namespace vellumcap {

class GenerateWindow : public platform::WindowController {
    Q_OBJECT
public:
    explicit GenerateWindow(const QString& windowNibName);
    ~GenerateWindow() override;

    void cancelCapture(QObject* sender);

protected:
    std::unique_ptr<QWidget> loadWindow() override;
    bool windowShouldClose(QWidget* window) override;

private:
    std::unique_ptr<Ui::GenerateWindow> m_ui;
};

} // namespace vellumcap
