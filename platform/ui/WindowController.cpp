#include "platform/ui/WindowController.h"

#include "platform/ui/Sheet.h"

#include <QDialog>
#include <QKeyEvent>
#include <QPointer>
#include <QVariant>
#include <QWidget>

#include <utility>

namespace platform {
namespace {

constexpr auto controllerProperty = "windowController";

} // namespace

WindowController::WindowController(QString windowNibName)
    : m_windowNibName(std::move(windowNibName))
{
}

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

void WindowController::showWindow(QObject*)
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
        // A pop-up (of a combo box, say) belongs to the window beneath; a dialog is its own.
        if (widget->isWindow() && widget->windowType() != Qt::Popup) {
            return nullptr;
        }
    }
    return nullptr;
}

bool WindowController::windowShouldClose(QWidget*)
{
    return true;
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
        // A dialog would hide at once, without asking.
        m_window->close();
        return true;
    }
    return false;
}

bool WindowController::closeWindow()
{
    if (!windowShouldClose(m_window.get())) {
        return false;
    }
    windowWillClose();
    // A sheet that is gone must not keep its window from having another.
    if (sheetParent(m_window.get()) != nullptr) {
        endSheet(m_window.get());
    }
    return true;
}

} // namespace platform
