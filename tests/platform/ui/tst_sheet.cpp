#include "platform/ui/Sheet.h"
#include "tests/support/TestMain.h"

#include <QDialog>
#include <QPushButton>
#include <QSignalSpy>
#include <QWindow>

class SheetTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void attachesOneSheet();
    void endsASheetOnce();
    void mayBeBegunAgain();
    void survivesTheSheetsDestruction();
    void survivesTheWindowsDestruction();
    void survivesTheDestructionOfASheetThatTheWindowOwns();
    void isModalToItsWindowOnly();
    void isAtTheTopOfItsWindow();
    void showsAHiddenWindow();
    void hidesAndShowsWithItsWindow();
    void staysHiddenAfterItWasEnded();
};

void SheetTest::attachesOneSheet()
{
    QWidget window;
    QDialog sheet;
    QDialog another;
    window.show();
    QVERIFY(platform::attachedSheet(&window) == nullptr);
    QVERIFY(platform::sheetParent(&sheet) == nullptr);

    platform::beginSheet(&window, &sheet);
    platform::beginSheet(&window, &another);
    QCOMPARE(platform::attachedSheet(&window), &sheet);
    QCOMPARE(platform::sheetParent(&sheet), &window);
    QVERIFY(sheet.isVisible());
    QVERIFY(!another.isVisible());
    QVERIFY(platform::sheetParent(&another) == nullptr);
}

void SheetTest::endsASheetOnce()
{
    QWidget window;
    QDialog sheet;
    window.show();
    int completed = 0;
    platform::beginSheet(&window, &sheet, [&] {
        ++completed;
        QVERIFY(platform::attachedSheet(&window) == nullptr);
        platform::endSheet(&sheet);
    });
    platform::endSheet(&sheet);
    platform::endSheet(&sheet);
    QCOMPARE(completed, 1);
    QVERIFY(platform::sheetParent(&sheet) == nullptr);
    QVERIFY(sheet.isVisible()); // the caller has to hide it
}

void SheetTest::mayBeBegunAgain()
{
    QWidget window;
    QDialog sheet;
    window.show();
    for (int round = 0; round < 2; ++round) {
        platform::beginSheet(&window, &sheet);
        QVERIFY(sheet.isVisible());
        platform::endSheet(&sheet);
        sheet.hide();
    }
    QVERIFY(platform::attachedSheet(&window) == nullptr);
}

void SheetTest::survivesTheSheetsDestruction()
{
    QWidget window;
    window.show();
    {
        QDialog sheet;
        platform::beginSheet(&window, &sheet);
    }
    QVERIFY(platform::attachedSheet(&window) == nullptr);
    QDialog next;
    platform::beginSheet(&window, &next);
    QCOMPARE(platform::attachedSheet(&window), &next);
}

void SheetTest::survivesTheWindowsDestruction()
{
    QDialog sheet;
    bool completed = false;
    {
        QWidget window;
        window.show();
        platform::beginSheet(&window, &sheet, [&completed] { completed = true; });
    }
    QVERIFY(platform::sheetParent(&sheet) == nullptr);
    QVERIFY(!sheet.isVisible());
    platform::endSheet(&sheet);
    QVERIFY(!completed);
}

void SheetTest::survivesTheDestructionOfASheetThatTheWindowOwns()
{
    auto window = std::make_unique<QWidget>();
    window->show();
    auto* sheet = new QDialog(window.get());
    const QSignalSpy destroyed(sheet, &QObject::destroyed);
    platform::beginSheet(window.get(), sheet);
    window.reset();
    QCOMPARE(destroyed.count(), 1);
}

void SheetTest::isModalToItsWindowOnly()
{
    QWidget window;
    QPushButton beneath(&window);
    QPushButton elsewhere;
    QDialog sheet;
    QSignalSpy pressedBeneath(&beneath, &QPushButton::clicked);
    QSignalSpy pressedElsewhere(&elsewhere, &QPushButton::clicked);
    window.show();
    elsewhere.show();
    const auto click = [](QWidget& button) {
        QTest::mouseClick(button.window()->windowHandle(), Qt::LeftButton, {},
            button.mapTo(button.window(), button.rect().center()));
    };

    platform::beginSheet(&window, &sheet);
    QCOMPARE(sheet.windowModality(), Qt::WindowModal);
    QCOMPARE(sheet.windowHandle()->transientParent(), window.windowHandle());
    click(beneath);
    click(elsewhere);
    QCOMPARE(pressedBeneath.count(), 0);
    QCOMPARE(pressedElsewhere.count(), 1);

    platform::endSheet(&sheet);
    sheet.hide();
    click(beneath);
    QCOMPARE(pressedBeneath.count(), 1);
}

void SheetTest::isAtTheTopOfItsWindow()
{
    QWidget window;
    window.setGeometry(100, 80, 500, 400);
    window.show();
    QDialog sheet;
    sheet.resize(200, 150);
    platform::beginSheet(&window, &sheet);
    QVERIFY(qAbs(sheet.geometry().center().x() - window.geometry().center().x()) <= 2);
    QVERIFY(sheet.geometry().top() >= window.geometry().top());
    QVERIFY(sheet.geometry().top() <= window.geometry().top() + 40);
}

void SheetTest::showsAHiddenWindow()
{
    QWidget window;
    QDialog sheet;

    platform::beginSheet(&window, &sheet);

    QVERIFY(window.isVisible());
    QVERIFY(sheet.isVisible());
}

void SheetTest::hidesAndShowsWithItsWindow()
{
    QWidget window;
    QDialog sheet;
    window.show();
    platform::beginSheet(&window, &sheet);
    window.hide();
    QVERIFY(!sheet.isVisible());
    QCOMPARE(platform::attachedSheet(&window), &sheet);
    window.show();
    QTRY_VERIFY(sheet.isVisible());
    QCOMPARE(platform::attachedSheet(&window), &sheet);
}

void SheetTest::staysHiddenAfterItWasEnded()
{
    QWidget window;
    QDialog sheet;
    window.show();
    platform::beginSheet(&window, &sheet);
    window.hide();
    platform::endSheet(&sheet);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window, support::patience));
    QCoreApplication::processEvents();
    QVERIFY(!sheet.isVisible());
}

VELLUMCAP_TEST(SheetTest)

#include "tst_sheet.moc"
