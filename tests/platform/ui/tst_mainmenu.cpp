#include "platform/ui/MainMenu.h"
#include "platform/ui/WindowController.h"
#include "tests/support/TestMain.h"

#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QUndoStack>
#include <QVBoxLayout>

#include <map>

using namespace Qt::StringLiterals;

namespace {

/// The items of a menu responder by name, and whether each is enabled.
struct Responder {
    std::map<QString, bool> items;
    QStringList performed;

    bool respondsTo(const QAction& item) const { return items.contains(item.objectName()); }
    bool validate(const QAction& item) const { return items.at(item.objectName()); }
    void perform(const QAction& item) { performed.append(item.objectName()); }
};

class Controller : public platform::WindowController, public platform::MenuResponder {
public:
    Responder responder;
    bool respondsTo(const QAction& item) const override { return responder.respondsTo(item); }
    bool validateMenuItem(const QAction& item) const override { return responder.validate(item); }
    void perform(QAction& item) override { responder.perform(item); }

    QLineEdit* field = nullptr;
    QPlainTextEdit* notes = nullptr;
    QPushButton* button = nullptr;
    QMenu* menu = nullptr;

protected:
    std::unique_ptr<QWidget> loadWindow() override
    {
        auto window = std::make_unique<QMainWindow>();
        auto* content = new QWidget;
        auto* layout = new QVBoxLayout(content);
        layout->addWidget(button = new QPushButton);
        layout->addWidget(field = new QLineEdit);
        layout->addWidget(notes = new QPlainTextEdit);
        window->setCentralWidget(content);
        menu = window->menuBar()->addMenu(u"Menu"_s);
        return window;
    }
};

class Delegate : public platform::ApplicationDelegate {
public:
    Delegate() { platform::Application::shared().setDelegate(this); }
    ~Delegate() override { platform::Application::shared().setDelegate(nullptr); }

    Responder responder;
    QUndoStack undoStack;
    bool hasUndoManager = true;
    int timesAskedForUndoManager = 0;
    int timesAskedToTerminate = 0;

    void applicationDidFinishLaunching() override { }
    void applicationShouldHandleReopen() override { }
    platform::TerminateReply applicationShouldTerminate(platform::Application&) override
    {
        ++timesAskedToTerminate;
        return platform::TerminateReply::Cancel;
    }
    QUndoStack* windowWillReturnUndoManager() override
    {
        ++timesAskedForUndoManager;
        return hasUndoManager ? &undoStack : nullptr;
    }
    bool respondsTo(const QAction& item) const override { return responder.respondsTo(item); }
    bool validateMenuItem(const QAction& item) const override { return responder.validate(item); }
    void perform(QAction& item) override { responder.perform(item); }
};

const auto scan = u"scan"_s;

} // namespace

/// Each case has a journal-like main window with the menu, another window, and a delegate.
class MainMenuTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void asksTheKeyWindowFirst();
    void asksTheMainWindowNext();
    void asksTheDelegateLast();
    void disablesItemsWithoutAResponder();
    void validatesAgainBeforePerforming();
    void validatesWhenAMenuOpens();
    void undoesTheTextFirst();
    void undoKeyReachesTheStoreWhenTheTextHasNothing();
    void followsTheUndoManager();
    void doesNotRetryAFailedUndoManagerByItself();
    void editsTheFocusedText();
    void leavesTheKeysOfOtherWidgetsAlone();
    void closesTheKeyWindow();
    void quitsThroughTheDelegate();
    void sharesClosingWithTheOtherWindows();

private:
    QAction* add(const QString& name, QKeySequence::StandardKey key = QKeySequence::UnknownKey)
    {
        auto* item = m_main->menu->addAction(name);
        item->setObjectName(name);
        item->setShortcut(key);
        m_menu->addItem(item);
        return item;
    }

    std::unique_ptr<Delegate> m_delegate;
    std::unique_ptr<Controller> m_main;
    std::unique_ptr<Controller> m_other;
    std::unique_ptr<platform::MainMenu> m_menu;
};

void MainMenuTest::init()
{
    m_delegate = std::make_unique<Delegate>();
    m_main = std::make_unique<Controller>();
    m_other = std::make_unique<Controller>();
    m_other->window();
    m_main->showWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_main->window(), support::patience));
    m_menu = std::make_unique<platform::MainMenu>(platform::Application::shared(), *m_main);
}

void MainMenuTest::cleanup()
{
    m_menu.reset();
    m_other.reset();
    m_main.reset();
    m_delegate.reset();
}

void MainMenuTest::asksTheKeyWindowFirst()
{
    QAction* item = add(scan);
    m_main->responder.items[scan] = true;
    m_other->responder.items[scan] = false;
    m_menu->validate();
    QVERIFY(item->isEnabled());

    m_other->showWindow();
    QTRY_VERIFY(!item->isEnabled()); // validated when the key window changes

    m_other->responder.items[scan] = true;
    m_menu->validate();
    item->trigger();
    QCOMPARE(m_other->responder.performed, QStringList{ scan });
    QCOMPARE(m_main->responder.performed, QStringList());
}

void MainMenuTest::asksTheMainWindowNext()
{
    QAction* item = add(scan);
    m_main->responder.items[scan] = true;
    m_delegate->responder.items[scan] = false;
    m_other->showWindow();
    QTRY_COMPARE(QApplication::activeWindow(), m_other->window());
    m_menu->validate();
    item->trigger();
    QCOMPARE(m_main->responder.performed, QStringList{ scan });
}

void MainMenuTest::asksTheDelegateLast()
{
    QAction* item = add(scan);
    m_delegate->responder.items[scan] = true;
    m_menu->validate();
    item->trigger();
    QCOMPARE(m_delegate->responder.performed, QStringList{ scan });
}

void MainMenuTest::disablesItemsWithoutAResponder()
{
    QAction* item = add(scan);
    m_menu->validate();
    QVERIFY(!item->isEnabled());
}

void MainMenuTest::validatesAgainBeforePerforming()
{
    QAction* item = add(scan);
    m_main->responder.items[scan] = true;
    m_menu->validate();
    m_main->responder.items[scan] = false;
    item->trigger();
    QCOMPARE(m_main->responder.performed, QStringList());
}

void MainMenuTest::validatesWhenAMenuOpens()
{
    QAction* item = add(scan);
    m_menu->validate();
    m_main->responder.items[scan] = true;
    QVERIFY(!item->isEnabled());
    m_main->menu->popup(m_main->window()->pos());
    QVERIFY(item->isEnabled());
    m_main->menu->close();
}

void MainMenuTest::undoesTheTextFirst()
{
    QAction* undo = add(u"undo"_s);
    QAction* redo = add(u"redo"_s);
    m_delegate->undoStack.push(new QUndoCommand);
    for (QWidget* text :
        { static_cast<QWidget*>(m_main->field), static_cast<QWidget*>(m_main->notes) }) {
        text->setFocus();
        QTest::keyClicks(text, u"a"_s);
        m_menu->validate();
        undo->trigger();
        QVERIFY(m_delegate->undoStack.canUndo());
        m_menu->validate();
        redo->trigger();
    }
    QCOMPARE(m_main->field->text(), u"a"_s);
    QCOMPARE(m_main->notes->toPlainText(), u"a"_s);

    m_main->button->setFocus();
    undo->trigger();
    QVERIFY(!m_delegate->undoStack.canUndo());
    redo->trigger();
    QVERIFY(m_delegate->undoStack.canUndo());
}

void MainMenuTest::undoKeyReachesTheStoreWhenTheTextHasNothing()
{
    add(u"undo"_s, QKeySequence::Undo);
    m_delegate->undoStack.push(new QUndoCommand);
    m_main->field->setFocus();
    const auto press
        = [this] { QTest::keySequence(m_main->window()->windowHandle(), QKeySequence::Undo); };

    QTest::keyClicks(m_main->field, u"a"_s);
    press();
    QCOMPARE(m_main->field->text(), QString());
    QVERIFY(m_delegate->undoStack.canUndo());
    press();
    QVERIFY(!m_delegate->undoStack.canUndo());
}

void MainMenuTest::followsTheUndoManager()
{
    QAction* undo = add(u"undo"_s);
    m_main->button->setFocus();
    m_menu->validate();
    QVERIFY(!undo->isEnabled());
    m_delegate->undoStack.push(new QUndoCommand);
    QVERIFY(undo->isEnabled());
    m_delegate->undoStack.clear();
    QVERIFY(!undo->isEnabled());
}

void MainMenuTest::doesNotRetryAFailedUndoManagerByItself()
{
    add(u"undo"_s);
    m_delegate->hasUndoManager = false;
    m_menu->validate();
    const int asked = m_delegate->timesAskedForUndoManager;
    m_main->field->setFocus();
    m_main->button->setFocus();
    QCOMPARE(m_delegate->timesAskedForUndoManager, asked);
    m_menu->validate();
    QCOMPARE(m_delegate->timesAskedForUndoManager, asked + 1);
}

void MainMenuTest::editsTheFocusedText()
{
    QAction* cut = add(u"cut"_s);
    QAction* copy = add(u"copy"_s);
    QAction* paste = add(u"paste"_s);
    QAction* selectAll = add(u"selectAll"_s);
    m_main->field->setText(u"abc"_s);
    m_main->field->setFocus();
    m_menu->validate();
    QVERIFY(!cut->isEnabled() && !copy->isEnabled() && paste->isEnabled());
    selectAll->trigger();
    m_menu->validate();
    cut->trigger();
    QCOMPARE(m_main->field->text(), QString());

    m_main->notes->setFocus();
    m_menu->validate();
    paste->trigger();
    QCOMPARE(m_main->notes->toPlainText(), u"abc"_s);

    m_main->notes->selectAll();
    m_main->notes->setReadOnly(true);
    m_menu->validate();
    QVERIFY(!cut->isEnabled() && copy->isEnabled() && !paste->isEnabled());

    m_main->button->setFocus();
    for (const QAction* item : { cut, copy, paste, selectAll }) {
        QVERIFY(!item->isEnabled());
    }
}

void MainMenuTest::leavesTheKeysOfOtherWidgetsAlone()
{
    class KeyWidget : public QWidget {
    public:
        int pastes = 0;

    protected:
        void keyPressEvent(QKeyEvent* event) override
        {
            pastes += event->matches(QKeySequence::Paste);
        }
    };
    add(u"paste"_s, QKeySequence::Paste);
    KeyWidget well;
    well.setFocusPolicy(Qt::StrongFocus);
    well.setParent(m_main->window());
    well.show();
    well.setFocus();
    QTest::keySequence(m_main->window()->windowHandle(), QKeySequence::Paste);
    QCOMPARE(well.pastes, 1);
}

void MainMenuTest::closesTheKeyWindow()
{
    QAction* close = add(u"closeWindow"_s);
    m_other->showWindow();
    QTRY_COMPARE(QApplication::activeWindow(), m_other->window());
    m_menu->validate();
    close->trigger();
    QVERIFY(!m_other->window()->isVisible());
    QVERIFY(m_main->window()->isVisible());
}

void MainMenuTest::quitsThroughTheDelegate()
{
    QAction* quit = add(u"quit"_s);
    quit->trigger();
    QCOMPARE(m_delegate->timesAskedToTerminate, 1);
}

void MainMenuTest::sharesClosingWithTheOtherWindows()
{
    add(u"closeWindow"_s, QKeySequence::Close);
    QAction* item = add(u"deleteCapture"_s, QKeySequence::Delete);
    m_main->responder.items[item->objectName()] = true;
    m_other->showWindow();
    QTRY_COMPARE(QApplication::activeWindow(), m_other->window());
    m_other->button->setFocus();

    QTest::keySequence(m_other->window()->windowHandle(), QKeySequence::Delete);
    QCOMPARE(m_main->responder.performed, QStringList());
    QTest::keySequence(m_other->window()->windowHandle(), QKeySequence::Close);
    QVERIFY(!m_other->window()->isVisible());
}

VELLUMCAP_TEST(MainMenuTest)

#include "tst_mainmenu.moc"
