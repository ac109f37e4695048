#include "platform/ui/TextField.h"
#include "tests/support/TestMain.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

using namespace Qt::StringLiterals;

using platform::TextField;

class TextFieldTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void ignoresAnEmptyClipboard_data();
    void ignoresAnEmptyClipboard();
    void pastesText();
};

void TextFieldTest::ignoresAnEmptyClipboard_data()
{
    QTest::addColumn<bool>("hasData");
    QTest::addColumn<QString>("how");
    for (const char* how : { "Ctrl+V", "Shift+Ins", "menu" }) {
        QTest::addRow("no data, %s", how) << false << QString::fromLatin1(how);
        QTest::addRow("empty data, %s", how) << true << QString::fromLatin1(how);
    }
}

void TextFieldTest::ignoresAnEmptyClipboard()
{
    QFETCH(bool, hasData);
    QFETCH(QString, how);

    QGuiApplication::clipboard()->setMimeData(hasData ? new QMimeData : nullptr);
    QCOMPARE(QGuiApplication::clipboard()->mimeData() != nullptr, hasData);
    TextField field;
    field.setStringValue(u"before"_s);
    field.show();
    if (how == u"menu"_s) {
        field.paste();
    } else {
        QTest::keySequence(&field, QKeySequence(how));
    }
    QCOMPARE(field.stringValue(), u"before"_s);
    QVERIFY(!field.isEditing());
}

void TextFieldTest::pastesText()
{
    QGuiApplication::clipboard()->setText(u"pasted "_s);
    TextField field;
    field.setStringValue(u"before"_s);
    field.show();
    QTest::keySequence(&field, QKeySequence(u"Ctrl+V"_s));
    QCOMPARE(field.stringValue(), u"pasted before"_s);
    QVERIFY(field.isEditing());
}

VELLUMCAP_TEST(TextFieldTest)
#include "tst_textfield.moc"
