#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

class QAction;
class QUndoStack;
class QWidget;

namespace platform {

class Application;
class MenuResponder;

/// Sends menu items to the first responder that has their action: the controller of the key window,
/// the main window's controller, or the application's delegate. This responder also decides whether
/// the item is enabled.
///
/// The menu performs some items itself, by their names: "undo" and "redo" (in the text being
/// edited, else by the delegate's undo manager), "cut", "copy", "paste" and "selectAll" (in text),
/// "closeWindow" and "quit". Main thread.
class MainMenu : public QObject {
    Q_OBJECT
public:
    /// The controller must outlive the menu.
    MainMenu(Application& application, MenuResponder& mainWindowController);

    /// Does not take ownership. The item must be in its menus already, which validate it when they
    /// open.
    void addItem(QAction* item);
    void validate();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class UndoManager { Ask, AskUnlessItFailed };

    void focusChanged(QWidget* old, QWidget* now);
    void validate(UndoManager undoManager);
    void shareWithKeyWindow();
    void followUndoManager(UndoManager undoManager);
    bool isEnabled(const QAction& item) const;
    void trigger(QAction& item);
    QWidget* editedText() const;
    MenuResponder* responderFor(const QAction& item) const;

    Application& m_application;
    MenuResponder& m_mainWindowController;
    QList<QPointer<QAction>> m_items;
    QPointer<QWidget> m_focusBeforeMenu;
    QPointer<QUndoStack> m_undoManager;
    bool m_undoManagerFailed = false;
    bool m_validating = false;
};

} // namespace platform
