#include "platform/ui/WindowController.h"

#include "platform/services/Dispatch.h"
#include "platform/ui/Sheet.h"

#include <QDialog>
#include <QKeyEvent>
#include <QPointer>
#include <QVariant>
#include <QWidget>

namespace platform {
namespace {

constexpr auto controllerProperty = "windowController";

} // namespace

WindowController::~WindowController()
{
    if (m_window) {
        m_window->removeEventFilter(this);
        m_window->setProperty(controllerProperty, QVariant());
    }
}

QWidget* WindowController::window()
{
    if (!m_window) {
        m_window = loadWindow();
        m_window->setProperty(controllerProperty, QVariant::fromValue<QObject*>(this));
        m_window->installEventFilter(this);
        windowDidLoad();
    }
    return m_window.get();
}

void WindowController::showWindow()
{
    QWidget* shown = window();
    shown->setWindowState(shown->windowState() & ~Qt::WindowMinimized);
    shown->show();
    QWidget* sheet = attachedSheet(shown);
    QWidget* front = sheet != nullptr && sheet->isVisible() ? sheet : shown;
    shown->raise();
    front->raise();
    front->activateWindow();
}

WindowController* WindowController::controllerOf(const QWidget* widget)
{
    for (; widget != nullptr; widget = widget->parentWidget()) {
        const QVariant controller = widget->property(controllerProperty);
        if (controller.isValid()) {
            return qobject_cast<WindowController*>(controller.value<QObject*>());
        }
        // A pop-up, such as a combo box's list, belongs to the window below it; a dialog does not.
        if (widget->isWindow() && widget->windowType() != Qt::Popup) {
            return nullptr;
        }
    }
    return nullptr;
}

void WindowController::endSheetLater()
{
    dispatchMain(lifeGuard(), [this] { endSheet(window()); });
    window()->hide();
}

bool WindowController::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_window.get()) {
        return false;
    }
    if (event->type() == QEvent::Close) {
        event->setAccepted(closeWindow());
        return true;
    }
    if (event->type() == QEvent::KeyPress
        && static_cast<QKeyEvent*>(event)->matches(QKeySequence::Cancel)
        && (qobject_cast<QDialog*>(watched) != nullptr || sheetParent(m_window.get()) != nullptr)) {
        // QDialog would hide without a close event.
        m_window->close();
        return true;
    }
    return false;
}

bool WindowController::closeWindow()
{
    if (!windowShouldClose()) {
        return false;
    }
    windowWillClose();
    // While a closed sheet stays attached, its parent could not show another one.
    if (sheetParent(m_window.get()) != nullptr) {
        endSheet(m_window.get());
    }
    return true;
}

} // namespace platform
