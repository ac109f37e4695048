#include "platform/ui/Sheet.h"
#include "platform/ui/WindowController.h"
#include "tests/support/TestMain.h"

#include <QDialog>
#include <QLineEdit>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

template <typename Window> class NotingController : public platform::WindowController {
public:
    bool closes = true;
    QStringList notes;
    QLineEdit* field = nullptr;
    using WindowController::endSheetLater;

protected:
    std::unique_ptr<QWidget> loadWindow() override
    {
        notes.append(u"load"_s);
        auto loaded = std::make_unique<Window>();
        field = new QLineEdit(loaded.get());
        return loaded;
    }
    void windowDidLoad() override
    {
        notes.append(window()->isVisible() ? u"shown"_s : u"loaded"_s);
    }
    bool windowShouldClose() override
    {
        notes.append(u"should close"_s);
        return closes;
    }
    void windowWillClose() override { notes.append(u"will close"_s); }
};

} // namespace

class WindowControllerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void loadsItsWindowOnFirstUse();
    void hidesItsWindowOnClosing();
    void mayKeepItsWindow();
    void closesADialogByEscape_data();
    void closesADialogByEscape();
    void keepsAPlainWindowOnEscape();
    void endsASheetThatIsClosed();
    void hidesASheetBeforeItEnds();
    void bringsAMinimizedWindowBack();
    void isFoundFromItsWidgets();
    void destroysItsWindowAndGuard();
};

void WindowControllerTest::loadsItsWindowOnFirstUse()
{
    NotingController<QWidget> controller;
    QVERIFY(!controller.isWindowLoaded());
    QWidget* window = controller.window();
    QCOMPARE(controller.window(), window);
    QCOMPARE(controller.notes, QStringList({ u"load"_s, u"loaded"_s }));
    QVERIFY(!window->isVisible());
    controller.showWindow();
    QVERIFY(window->isVisible());
    QTRY_COMPARE(QApplication::activeWindow(), window);
}

void WindowControllerTest::hidesItsWindowOnClosing()
{
    NotingController<QWidget> controller;
    controller.showWindow();
    controller.notes.clear();
    QVERIFY(controller.window()->close());
    QVERIFY(!controller.window()->isVisible());
    QCOMPARE(controller.notes, QStringList({ u"should close"_s, u"will close"_s }));
    controller.showWindow();
    QVERIFY(controller.window()->isVisible());
}

void WindowControllerTest::mayKeepItsWindow()
{
    NotingController<QDialog> controller;
    controller.closes = false;
    controller.showWindow();
    controller.notes.clear();
    QVERIFY(!controller.window()->close());
    QVERIFY(controller.window()->isVisible());
    QCOMPARE(controller.notes, QStringList{ u"should close"_s });
}

void WindowControllerTest::closesADialogByEscape_data()
{
    QTest::addColumn<bool>("closes");
    QTest::newRow("closes") << true;
    QTest::newRow("is kept") << false;
}

void WindowControllerTest::closesADialogByEscape()
{
    QFETCH(bool, closes);
    NotingController<QDialog> controller;
    controller.closes = closes;
    controller.showWindow();
    controller.notes.clear();
    QTest::keyClick(controller.field, Qt::Key_Escape);
    QCOMPARE(controller.window()->isVisible(), !closes);
    QCOMPARE(controller.notes.count(u"should close"_s), 1);
    QCOMPARE(controller.notes.count(u"will close"_s), closes ? 1 : 0);
}

void WindowControllerTest::keepsAPlainWindowOnEscape()
{
    NotingController<QWidget> controller;
    controller.showWindow();
    QTest::keyClick(controller.field, Qt::Key_Escape);
    QVERIFY(controller.window()->isVisible());
}

void WindowControllerTest::endsASheetThatIsClosed()
{
    QWidget parent;
    parent.show();
    NotingController<QWidget> controller;
    int completed = 0;
    platform::beginSheet(&parent, controller.window(), [&completed] { ++completed; });
    controller.closes = false;
    QTest::keyClick(controller.field, Qt::Key_Escape);
    QCOMPARE(platform::attachedSheet(&parent), controller.window());

    controller.closes = true;
    QTest::keyClick(controller.field, Qt::Key_Escape);
    QVERIFY(!controller.window()->isVisible());
    QVERIFY(platform::attachedSheet(&parent) == nullptr);
    QCOMPARE(completed, 1);
}

void WindowControllerTest::hidesASheetBeforeItEnds()
{
    QWidget parent;
    NotingController<QDialog> controller;
    int completed = 0;
    platform::beginSheet(&parent, controller.window(), [&completed] { ++completed; });

    controller.endSheetLater();

    QVERIFY(!controller.window()->isVisible());
    QCOMPARE(platform::attachedSheet(&parent), controller.window());
    QTRY_VERIFY(platform::attachedSheet(&parent) == nullptr);
    QCOMPARE(completed, 1);
}

void WindowControllerTest::bringsAMinimizedWindowBack()
{
    NotingController<QWidget> controller;
    controller.showWindow();
    controller.window()->showMinimized();
    QVERIFY(controller.window()->isMinimized());
    controller.showWindow();
    QVERIFY(!controller.window()->isMinimized());
    QVERIFY(controller.window()->isVisible());
}

void WindowControllerTest::isFoundFromItsWidgets()
{
    using platform::WindowController;
    NotingController<QWidget> controller;
    QVERIFY(WindowController::controllerOf(nullptr) == nullptr);
    QCOMPARE(WindowController::controllerOf(controller.window()), &controller);
    QCOMPARE(WindowController::controllerOf(controller.field), &controller);
    const QWidget popUp(controller.field, Qt::Popup);
    QCOMPARE(WindowController::controllerOf(&popUp), &controller);
    const QDialog alert(controller.window());
    QVERIFY(WindowController::controllerOf(&alert) == nullptr);
    const QWidget another;
    QVERIFY(WindowController::controllerOf(&another) == nullptr);
}

void WindowControllerTest::destroysItsWindowAndGuard()
{
    auto controller = std::make_unique<NotingController<QWidget>>();
    const QSignalSpy destroyed(controller->window(), &QObject::destroyed);
    const auto guard = controller->lifeGuard();
    QVERIFY(!guard.expired());
    controller.reset();
    QVERIFY(guard.expired());
    QCOMPARE(destroyed.count(), 1);
}

VELLUMCAP_TEST(WindowControllerTest)

#include "tst_windowcontroller.moc"
