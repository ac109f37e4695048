#pragma once

#include "platform/ui/WindowController.h"

#include <memory>

namespace Ui {
class CaptureWindow;
}

namespace vellumcap {

class CaptureWindow : public platform::WindowController {
    Q_OBJECT
public:
    explicit CaptureWindow(const QString& windowNibName);
    ~CaptureWindow() override;

    void cancelCapture(QObject* sender);

protected:
    std::unique_ptr<QWidget> loadWindow() override;
    bool windowShouldClose(QWidget* window) override;

private:
    std::unique_ptr<Ui::CaptureWindow> m_ui;
};

} // namespace vellumcap
