#include "camera/CaptureWindow.h"

#include "platform/ui/Application.h"
#include "ui_CaptureWindow.h"

#include <QDialog>

namespace vellumcap {

CaptureWindow::CaptureWindow(const QString& windowNibName)
    : WindowController(windowNibName)
    , m_ui(std::make_unique<Ui::CaptureWindow>())
{
}

CaptureWindow::~CaptureWindow() = default;

std::unique_ptr<QWidget> CaptureWindow::loadWindow()
{
    auto window = std::make_unique<QDialog>();
    m_ui->setupUi(window.get());
    connect(m_ui->buttonCancel, &QPushButton::clicked, this,
        [this] { cancelCapture(m_ui->buttonCancel); });
    return window;
}

void CaptureWindow::cancelCapture(QObject* /*sender*/)
{
    platform::Application::shared().endSheet(window());
    window()->hide();
}

bool CaptureWindow::windowShouldClose(QWidget* /*window*/)
{
    cancelCapture(nullptr);
    return false;
}

} // namespace vellumcap
