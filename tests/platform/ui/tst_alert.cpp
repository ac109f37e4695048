#include "platform/ui/Alert.h"
#include "tests/support/Alerts.h"
#include "tests/support/TestMain.h"

#include <QAbstractButton>
#include <QLabel>
#include <QMessageBox>

using namespace Qt::StringLiterals;

class AlertTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void returnsTheIndexOfTheButton_data();
    void returnsTheIndexOfTheButton();
    void pressesByKey_data();
    void pressesByKey();
    void keepsTheOrderOfTheButtons();
    void showsPlainTextOnly();
    void wrapsLongTexts();
};

namespace {

const QStringList quitOrCancel{ u"Quit anyway"_s, u"Cancel"_s };

int runAnd(const platform::Alert& alert, const std::function<void(QMessageBox&)>& answer)
{
    bool isModal = false;
    support::onNextAlert([&](QMessageBox& box) {
        isModal = box.windowModality() == Qt::ApplicationModal;
        answer(box);
    });
    const int pressed = alert.runModal();
    return isModal ? pressed : -1;
}

} // namespace

void AlertTest::returnsTheIndexOfTheButton_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("first") << 0;
    QTest::newRow("second") << 1;
}

void AlertTest::returnsTheIndexOfTheButton()
{
    QFETCH(int, index);
    const platform::Alert alert{ u"Quit?"_s, {}, quitOrCancel };
    QCOMPARE(runAnd(alert, [index](QMessageBox& box) { box.buttons().at(index)->click(); }), index);
}

void AlertTest::pressesByKey_data()
{
    QTest::addColumn<QStringList>("buttons");
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("index");
    const QStringList three{ u"A"_s, u"Cancel"_s, u"B"_s };
    const QStringList without{ u"A"_s, u"B"_s };
    QTest::newRow("return presses the first") << three << int{ Qt::Key_Return } << 0;
    QTest::newRow("escape presses Cancel") << three << int{ Qt::Key_Escape } << 1;
    QTest::newRow("escape presses the last button") << without << int{ Qt::Key_Escape } << 1;
}

void AlertTest::pressesByKey()
{
    QFETCH(QStringList, buttons);
    QFETCH(int, key);
    QFETCH(int, index);
    const platform::Alert alert{ u"Quit?"_s, {}, buttons };
    QCOMPARE(runAnd(alert,
                 [key](QMessageBox& box) { QTest::keyClick(&box, static_cast<Qt::Key>(key)); }),
        index);
}

void AlertTest::keepsTheOrderOfTheButtons()
{
    QList<support::AlertSeen> seen;
    support::answerNextAlert(0, seen);
    const platform::Alert alert{ u"Quit?"_s, {}, quitOrCancel };
    QCOMPARE(alert.runModal(), 0);
    QCOMPARE(seen.first().buttons, quitOrCancel);
}

void AlertTest::showsPlainTextOnly()
{
    const auto markup = u"<a href=\"https://example.org\">a</a>"_s;
    const platform::Alert alert{ markup, markup, quitOrCancel };
    int labels = 0;
    runAnd(alert, [&](QMessageBox& box) {
        QCOMPARE(box.text(), markup);
        QCOMPARE(box.informativeText(), markup);
        for (const QLabel* label : box.findChildren<QLabel*>()) {
            if (label->text() == markup) {
                ++labels;
                QCOMPARE(label->textFormat(), Qt::PlainText);
            }
        }
        box.close();
    });
    QCOMPARE(labels, 2);
}

void AlertTest::wrapsLongTexts()
{
    const platform::Alert alert{ u"word "_s.repeated(300), u"/folder"_s.repeated(300),
        quitOrCancel };
    int width = 0;
    runAnd(alert, [&width](QMessageBox& box) {
        width = box.width();
        box.close();
    });
    QVERIFY2(width > 0 && width <= 1100, qPrintable(QString::number(width)));
}

VELLUMCAP_TEST(AlertTest)

#include "tst_alert.moc"
