#include "imaging/GenerateWindow.h"

#include "platform/ui/Application.h"
#include "ui_GenerateWindow.h"

#include <QDialog>

namespace vellumcap {

GenerateWindow::GenerateWindow(const QString& windowNibName)
    : WindowController(windowNibName)
    , m_ui(std::make_unique<Ui::GenerateWindow>())
{
}

GenerateWindow::~GenerateWindow() = default;

std::unique_ptr<QWidget> GenerateWindow::loadWindow()
{
    auto window = std::make_unique<QDialog>();
    m_ui->setupUi(window.get());
    connect(m_ui->buttonCancel, &QPushButton::clicked, this,
        [this] { cancelCapture(m_ui->buttonCancel); });
    return window;
}

void GenerateWindow::cancelCapture(QObject* /*sender*/)
{
    platform::Application::shared().endSheet(window());
    window()->hide();
}

bool GenerateWindow::windowShouldClose(QWidget* /*window*/)
{
    cancelCapture(nullptr);
    return false;
}

} // namespace vellumcap
