#include "platform/services/Log.h"
#include "tests/support/TestMain.h"

#include <QProcess>

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
    row("plain", QStringLiteral("Contrast value 1.5"), "Contrast value 1.5");
    row("percent signs", QStringLiteral("%s %n %1"), "%s %n %1");
    row("other scripts", QStringLiteral("Grüße 読む 😀"), "Grüße 読む 😀");
    row("new line", QStringLiteral("a\nb\r"), "a\\u000ab\\u000d");
    row("null character", QStringLiteral("a") + QChar(0) + QStringLiteral("b"), "a\\u0000b");
    row("terminal sequence", QStringLiteral("\x1b[2J"), "\\u001b[2J");
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
    child.start(QCoreApplication::applicationFilePath(), { QStringLiteral("--log") });
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.readAllStandardError(), QByteArray("one\\u000aline\n"));
}

int main(int argc, char** argv)
{
    const support::Sandbox sandbox;
    platform::Application application(argc, argv);
    if (application.arguments().contains(QStringLiteral("--log"))) {
        platform::log(QStringLiteral("one\nline"));
        return 0;
    }
    LogTest cases;
    return QTest::qExec(&cases, argc, argv);
}

#include "tst_log.moc"
