#include "platform/ui/MainMenu.h"

#include "platform/ui/Application.h"
#include "platform/ui/MenuResponder.h"
#include "platform/ui/TextEditing.h"
#include "platform/ui/WindowController.h"

#include <QAction>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QScopedValueRollback>
#include <QUndoStack>
#include <QWindow>

namespace platform {
namespace {

bool isNamed(const QAction& item, const char* name)
{
    return item.objectName() == QLatin1StringView(name);
}

bool isForEveryWindow(const QAction& item)
{
    return isNamed(item, "closeWindow") || isNamed(item, "quit")
        || isNamed(item, "openPrefsWindow");
}

/// Null for other keys.
const char* undoCommand(const QKeyEvent& event)
{
    if (event.matches(QKeySequence::Undo)) {
        return "undo";
    }
    return event.matches(QKeySequence::Redo) ? "redo" : nullptr;
}

} // namespace

MainMenu::MainMenu(Application& application, MenuResponder& mainWindowController)
    : m_application(application)
    , m_mainWindowController(mainWindowController)
{
    connect(&application, &QApplication::focusChanged, this, &MainMenu::focusChanged);
    connect(&application, &QGuiApplication::focusWindowChanged, this, [this] {
        shareWithKeyWindow();
        validate(UndoManager::AskUnlessItFailed);
    });
    application.installEventFilter(this);
}

void MainMenu::addItem(QAction* item)
{
    m_items.append(item);
    connect(item, &QAction::triggered, this, [this, item] { trigger(*item); });
    const auto holders = item->associatedObjects();
    for (QObject* holder : holders) {
        if (auto* menu = qobject_cast<QMenu*>(holder)) {
            connect(menu, &QMenu::aboutToShow, this, qOverload<>(&MainMenu::validate),
                Qt::UniqueConnection);
        }
    }
}

void MainMenu::validate()
{
    validate(UndoManager::Ask);
}

void MainMenu::validate(UndoManager undoManager)
{
    // The responder may show an alert, which moves the focus and validates again.
    if (m_validating) {
        return;
    }
    const QScopedValueRollback validating(m_validating, true);
    followUndoManager(undoManager);
    for (const QPointer<QAction>& item : m_items) {
        if (item != nullptr) {
            item->setEnabled(isEnabled(*item));
        }
    }
}

bool MainMenu::eventFilter(QObject* watched, QEvent* event)
{
    // A text widget takes the undo keys even when it has nothing to undo. Then the menu's items
    // have to receive them.
    if (event->type() == QEvent::ShortcutOverride) {
        const char* command = undoCommand(*static_cast<QKeyEvent*>(event));
        QWidget* text = editedText();
        if (command != nullptr && text != nullptr && watched == m_application.focusWidget()
            && !TextEditing::isEnabled(QLatin1StringView(command), *text)) {
            validate(UndoManager::AskUnlessItFailed);
            event->ignore();
            return true;
        }
    }
    return false;
}

void MainMenu::focusChanged(QWidget* old, QWidget* now)
{
    // A menu bar takes the focus while it is used from the keyboard.
    if (qobject_cast<QMenuBar*>(now) != nullptr) {
        m_focusBeforeMenu = old;
    }
    validate(UndoManager::AskUnlessItFailed);
}

/// The menu bar, with its keys, belongs to the main window. Some of its items work in every window,
/// also in a sheet: the preferences take effect while a sheet is open.
void MainMenu::shareWithKeyWindow()
{
    QWidget* key = m_application.activeWindow();
    if (WindowController::controllerOf(key) == nullptr) {
        return;
    }
    for (const QPointer<QAction>& item : m_items) {
        if (item != nullptr && isForEveryWindow(*item)) {
            key->addAction(item);
        }
    }
}

void MainMenu::followUndoManager(UndoManager undoManager)
{
    ApplicationDelegate* delegate = m_application.delegate();
    if (delegate == nullptr
        || (undoManager == UndoManager::AskUnlessItFailed && m_undoManagerFailed)) {
        return;
    }
    QUndoStack* current = delegate->windowWillReturnUndoManager();
    m_undoManagerFailed = current == nullptr;
    if (current == m_undoManager) {
        return;
    }
    if (m_undoManager != nullptr) {
        m_undoManager->disconnect(this);
    }
    m_undoManager = current;
    if (current != nullptr) {
        const auto revalidate = [this] { validate(UndoManager::AskUnlessItFailed); };
        connect(current, &QUndoStack::canUndoChanged, this, revalidate);
        connect(current, &QUndoStack::canRedoChanged, this, revalidate);
    }
}

bool MainMenu::isEnabled(const QAction& item) const
{
    const QString name = item.objectName();
    if (TextEditing::isCommand(name)) {
        QWidget* text = editedText();
        return (text != nullptr && TextEditing::isEnabled(name, *text))
            || (m_undoManager != nullptr
                && ((isNamed(item, "undo") && m_undoManager->canUndo())
                    || (isNamed(item, "redo") && m_undoManager->canRedo())));
    }
    if (isNamed(item, "closeWindow")) {
        return m_application.activeWindow() != nullptr;
    }
    if (isNamed(item, "quit")) {
        return true;
    }
    const MenuResponder* responder = responderFor(item);
    return responder != nullptr && responder->validateMenuItem(item);
}

void MainMenu::trigger(QAction& item)
{
    followUndoManager(UndoManager::AskUnlessItFailed);
    if (!isEnabled(item)) {
        return;
    }
    const QString name = item.objectName();
    QWidget* text = editedText();
    if (isNamed(item, "quit")) {
        m_application.terminate();
    } else if (isNamed(item, "closeWindow")) {
        m_application.activeWindow()->close();
    } else if (text != nullptr && TextEditing::isEnabled(name, *text)) {
        TextEditing::perform(name, *text);
    } else if (isNamed(item, "undo")) {
        m_undoManager->undo();
    } else if (isNamed(item, "redo")) {
        m_undoManager->redo();
    } else {
        responderFor(item)->perform(item);
    }
}

QWidget* MainMenu::editedText() const
{
    QWidget* focus = m_application.focusWidget();
    const bool isInMenu = qobject_cast<QMenuBar*>(focus) != nullptr;
    return TextEditing::textWidget(isInMenu ? m_focusBeforeMenu.data() : focus);
}

MenuResponder* MainMenu::responderFor(const QAction& item) const
{
    MenuResponder* const chain[] = {
        dynamic_cast<MenuResponder*>(WindowController::controllerOf(m_application.activeWindow())),
        &m_mainWindowController,
        m_application.delegate(),
    };
    for (MenuResponder* responder : chain) {
        if (responder != nullptr && responder->respondsTo(item)) {
            return responder;
        }
    }
    return nullptr;
}

} // namespace platform
