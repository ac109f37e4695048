#include "watch/WatchWindow.h"

#include "platform/ui/Application.h"
#include "ui_WatchWindow.h"

#include <QDialog>

namespace vellumcap {

WatchWindow::WatchWindow(const QString& windowNibName)
    : WindowController(windowNibName)
    , m_ui(std::make_unique<Ui::WatchWindow>())
{
}

WatchWindow::~WatchWindow() = default;

std::unique_ptr<QWidget> WatchWindow::loadWindow()
{
    auto window = std::make_unique<QDialog>();
    m_ui->setupUi(window.get());
    connect(m_ui->buttonCancel, &QPushButton::clicked, this,
        [this] { cancelCapture(m_ui->buttonCancel); });
    return window;
}

void WatchWindow::cancelCapture(QObject* /*sender*/)
{
    platform::Application::shared().endSheet(window());
    window()->hide();
}

bool WatchWindow::windowShouldClose(QWidget* /*window*/)
{
    cancelCapture(nullptr);
    return false;
}

} // namespace vellumcap
