#include "platform/services/Log.h"
#include "tests/support/TestMain.h"

#include <QProcess>

using namespace Qt::StringLiterals;

class LogTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void escapesWhatCouldForgeALine_data();
    void escapesWhatCouldForgeALine();
    void writesTheBareLineToStandardError();
};

void LogTest::escapesWhatCouldForgeALine_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QByteArray>("written");

    const auto row = [](const char* name, const QString& line, const char* written) {
        QTest::newRow(name) << line << QByteArray(written);
    };
    row("plain", u"Contrast value 1.5"_s, "Contrast value 1.5");
    row("percent signs", u"%s %n %1"_s, "%s %n %1");
    row("other scripts", u"Grüße 読む 😀"_s, "Grüße 読む 😀");
    row("new line", u"a\nb\r"_s, "a\\u000ab\\u000d");
    row("null character", u"a"_s + QChar(0) + u"b"_s, "a\\u0000b");
    row("terminal sequence", u"\x1b[2J"_s, "\\u001b[2J");
    row("delete and C1", QString(QChar(0x7f)) + QChar(0x9b), "\\u007f\\u009b");
    row("separators", QString(QChar(0x2028)) + QChar(0x2029), "\\u2028\\u2029");
    row("bidi controls", QString(QChar(0x202e)) + QChar(0x2066) + QChar(0x200f) + QChar(0x061c),
        "\\u202e\\u2066\\u200f\\u061c");
}

void LogTest::escapesWhatCouldForgeALine()
{
    QFETCH(QString, line);
    QFETCH(QByteArray, written);

    QTest::ignoreMessage(QtInfoMsg, written.constData());
    platform::log(line);
}

void LogTest::writesTheBareLineToStandardError()
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), { u"--log"_s });
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.readAllStandardError(), QByteArray("one\\u000aline\n"));
}

int main(int argc, char** argv)
{
    const support::Sandbox sandbox;
    platform::Application application(argc, argv);
    if (application.arguments().contains(u"--log"_s)) {
        platform::log(u"one\nline"_s);
        return 0;
    }
    LogTest cases;
    return QTest::qExec(&cases, argc, argv);
}

#include "tst_log.moc"
