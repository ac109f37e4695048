#include "platform/script/ScriptThreads.h"
#include "tests/support/LogLines.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"
#include "watch/ScriptRunner.h"

#include <QTemporaryDir>

#include <future>

using support::LogLines;
using vellumcap::executeScriptWithPath;

class ScriptRunnerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void logsTheHandlersResult();
    void runsTheTopLevelWithoutAFunction_data();
    void runsTheTopLevelWithoutAFunction();
    void saysThatAScriptCannotBeLoaded_data();
    void saysThatAScriptCannotBeLoaded();
    void saysThatAScriptFailed_data();
    void saysThatAScriptFailed();
    void handsTheTextOverExactly();
    void loadsTheFileForEveryRun();
    void runsInParallel();
    void goesOnBesideAnEndlessScript(); // the last one: scripts are finished by it

private:
    QString write(const QByteArray& text) const
    {
        QString path = m_folder.filePath(QStringLiteral("a script.scpt"));
        support::writeFile(path, text);
        return path;
    }
    static QStringList logOf(const std::function<void()>& action)
    {
        const LogLines log;
        action();
        return LogLines::all();
    }

    QTemporaryDir m_folder;
};

namespace {

const auto handler = QStringLiteral("scanned_code");
const auto loadFailure = QStringLiteral("Could not instantiate applescript ");
const auto failure = QStringLiteral("error while executing script. Error ");

} // namespace

void ScriptRunnerTest::logsTheHandlersResult()
{
    const QString path = write("print 'top'\n"
                               "function scanned_code(text) print(text) return #text end");
    QCOMPARE(
        logOf([&] { QVERIFY(executeScriptWithPath(path, handler, { QStringLiteral("a\nb") })); }),
        QStringList({ QStringLiteral("top"), QStringLiteral("a"), QStringLiteral("b"),
            QStringLiteral("Script execution has succeed. Result(3)") }));

    const QString silent = write("function scanned_code() end");
    QCOMPARE(logOf([&] { QVERIFY(executeScriptWithPath(silent, handler, {})); }),
        QStringList({ QStringLiteral("Script execution has succeed. Result(nil)") }));
}

void ScriptRunnerTest::runsTheTopLevelWithoutAFunction_data()
{
    QTest::addColumn<QString>("function");
    QTest::newRow("none") << QString();
    QTest::newRow("empty") << QStringLiteral("");
}

void ScriptRunnerTest::runsTheTopLevelWithoutAFunction()
{
    QFETCH(QString, function);
    const QString path = write("function scanned_code() error('not to be called') end\n"
                               "return select('#', ...), 'top'");
    QCOMPARE(logOf([&] {
        QVERIFY(executeScriptWithPath(path, function, { QStringLiteral("not used") }));
    }),
        QStringList({ QStringLiteral("Script execution has succeed. Result(0, top)") }));
}

void ScriptRunnerTest::saysThatAScriptCannotBeLoaded_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error");
    QTest::newRow("syntax") << QByteArray("function")
                            << QStringLiteral("%1:1: <name> expected near <eof>");
    QTest::newRow("precompiled") << QByteArray("\x1bLua")
                                 << QStringLiteral("attempt to load a binary chunk (mode is 't')");
    QTest::newRow("deleted") << QByteArray()
                             << QStringLiteral("cannot open %1: No such file or directory");
}

void ScriptRunnerTest::saysThatAScriptCannotBeLoaded()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, error);

    const QString path = write(text);
    error.replace(QStringLiteral("%1"), path);
    if (text.isNull()) {
        QVERIFY(QFile::remove(path));
    }
    const QStringList log
        = logOf([&] { QVERIFY(!executeScriptWithPath(path, handler, { QString() })); });
    QCOMPARE(log, QStringList({ loadFailure + error }));
}

void ScriptRunnerTest::saysThatAScriptFailed_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("message");
    QTest::newRow("no handler") << QByteArray("function Scanned_Code() end")
                                << QStringLiteral("the script has no function 'scanned_code'");
    QTest::newRow("error") << QByteArray("function scanned_code(text) error('no ' .. text, 0) end")
                           << QStringLiteral("no text");
    QTest::newRow("exit") << QByteArray("function scanned_code(text) os.exit(1) end")
                          << QStringLiteral("os.exit: a script ends by returning");
    QTest::newRow("memory") << QByteArray("function scanned_code(text)\n"
                                          "  while true do text = text .. text end end")
                            << QStringLiteral("not enough memory");
    QTest::newRow("recursion") << QByteArray("function scanned_code(text)\n"
                                             "  return 1 + scanned_code(text) end")
                               << QStringLiteral("stack overflow");
}

void ScriptRunnerTest::saysThatAScriptFailed()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, message);

    const QString path = write(text);
    const QStringList log = logOf(
        [&] { QVERIFY(!executeScriptWithPath(path, handler, { QStringLiteral("text") })); });
    QCOMPARE(log.size(), 1); // one line, whatever is in the traceback
    QVERIFY2(log.first().startsWith(failure), qUtf8Printable(log.first()));
    QVERIFY2(log.first().contains(message), qUtf8Printable(log.first()));
    QVERIFY(log.first().contains(QStringLiteral("stack traceback:"))
        || message == QStringLiteral("not enough memory"));
}

void ScriptRunnerTest::handsTheTextOverExactly()
{
    const QString text = QStringLiteral("Grüße \"'`$(id)` \\ %1 %s\r\n\t😀") + QChar(0)
        + QStringLiteral("\x1b[0m\u202e");
    const QString seen = m_folder.filePath(QStringLiteral("seen"));
    const QString path = write("function scanned_code(text)\n"
                               "  io.open('"
        + seen.toUtf8() + "', 'w'):write(text):close() end");
    QCOMPARE(logOf([&] { QVERIFY(executeScriptWithPath(path, handler, { text })); }).size(), 1);
    QFile file(seen);
    QVERIFY(file.open(QFile::ReadOnly));
    QCOMPARE(file.readAll(), text.toUtf8());
}

void ScriptRunnerTest::loadsTheFileForEveryRun()
{
    const auto run = [this](const QByteArray& text) {
        const QString path = write(text);
        return logOf([&] { static_cast<void>(executeScriptWithPath(path, handler, {})); }).last();
    };
    const QByteArray counting = "count = (count or 0) + 1 function scanned_code() return count end";
    for (int number = 0; number < 2; ++number) {
        QCOMPARE(run(counting), QStringLiteral("Script execution has succeed. Result(1)"));
    }
    QCOMPARE(run("function scanned_code() return 'edited' end"),
        QStringLiteral("Script execution has succeed. Result(edited)"));
}

void ScriptRunnerTest::runsInParallel()
{
    // Each waits for what the other makes, which it would not live to see if they took turns.
    const QByteArray text = "function scanned_code(own, other)\n"
                            "  mine = own\n"
                            "  io.open(own, 'w'):close()\n"
                            "  repeat local file = io.open(other) until file\n"
                            "  return mine == own\n"
                            "end";
    const QString path = write(text);
    const QStringList names{ m_folder.filePath(QStringLiteral("1")),
        m_folder.filePath(QStringLiteral("2")) };
    std::promise<bool> first;
    std::promise<bool> second;
    const LogLines log;
    platform::dispatchScript([&] { first.set_value(executeScriptWithPath(path, handler, names)); });
    platform::dispatchScript([&] {
        second.set_value(executeScriptWithPath(path, handler, { names.last(), names.first() }));
    });
    QVERIFY(first.get_future().get());
    QVERIFY(second.get_future().get());
    QCOMPARE(LogLines::all(),
        QStringList(2, QStringLiteral("Script execution has succeed. Result(true)")));
}

void ScriptRunnerTest::goesOnBesideAnEndlessScript()
{
    const LogLines log;
    const QString path = write("function scanned_code(text)\n"
                               "  print('begun ' .. text)\n"
                               "  while text == 'endless' do pcall(error) end\n"
                               "end");
    constexpr int endless = 8;
    std::atomic<int> failed = 0;
    for (int number = 0; number < endless; ++number) {
        platform::dispatchScript([&] {
            failed += executeScriptWithPath(path, handler, { QStringLiteral("endless") }) ? 0 : 1;
        });
    }
    QTRY_COMPARE(LogLines::all().count(QStringLiteral("begun endless")), endless);
    std::promise<bool> another;
    platform::dispatchScript([&] {
        another.set_value(executeScriptWithPath(path, handler, { QStringLiteral("short") }));
    });
    auto done = another.get_future();
    QCOMPARE(done.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    QVERIFY(done.get());

    platform::finishScripts({ std::chrono::milliseconds(0), std::chrono::seconds(30) });
    QCOMPARE(failed.load(), endless);
    const QStringList interrupted
        = LogLines::all().filter(QStringLiteral("interrupted, since the program quits"));
    QCOMPARE(interrupted.size(), endless);
    QVERIFY(interrupted.first().startsWith(failure));
}

VELLUMCAP_TEST_MAIN(ScriptRunnerTest)

#include "tst_scriptrunner.moc"
