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

/// Sends the items of the menu to whoever answers for them: the controller of the key window, the
/// main window's controller, then the application's delegate. The first that responds to an item
/// also says whether it is enabled.
///
/// Some items it answers for itself, by their names: "undo" and "redo" (of the text being edited,
/// else of the delegate's undo manager), "cut", "copy", "paste" and "selectAll" (of text),
/// "closeWindow" and "quit". Main thread.
class MainMenu : public QObject {
    Q_OBJECT
public:
    /// The controller must outlive the menu.
    MainMenu(Application& application, MenuResponder& mainWindowController);

    /// Takes no ownership. The item is in its menus by now: they validate it when they open.
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
