#include "platform/script/ScriptThreads.h"
#include "tests/support/LogLines.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"
#include "watch/ScriptRunner.h"

#include <QTemporaryDir>

#include <future>

using namespace Qt::StringLiterals;

using support::LogLines;
using vellumcap::executeScriptWithPath;

class ScriptRunnerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void logsTheHandlersResult();
    void runsTheTopLevelWithoutAFunction_data();
    void runsTheTopLevelWithoutAFunction();
    void reportsAScriptThatCannotBeLoaded_data();
    void reportsAScriptThatCannotBeLoaded();
    void reportsAScriptThatFailed_data();
    void reportsAScriptThatFailed();
    void passesTheTextUnchanged();
    void loadsTheFileForEveryRun();
    void runsInParallel();
    void runsBesideEndlessScripts(); // must be the last one: it ends all scripts

private:
    QString write(const QByteArray& text) const
    {
        QString path = m_folder.filePath(u"a script.scpt"_s);
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

const auto handler = u"scanned_code"_s;
const auto loadFailure = u"Could not instantiate applescript "_s;
const auto failure = u"error while executing script. Error "_s;

} // namespace

void ScriptRunnerTest::logsTheHandlersResult()
{
    const QString path = write("print 'top'\n"
                               "function scanned_code(text) print(text) return #text end");
    QCOMPARE(logOf([&] { QVERIFY(executeScriptWithPath(path, handler, { u"a\nb"_s })); }),
        QStringList({ u"top"_s, u"a"_s, u"b"_s, u"Script execution has succeed. Result(3)"_s }));

    const QString silent = write("function scanned_code() end");
    QCOMPARE(logOf([&] { QVERIFY(executeScriptWithPath(silent, handler, {})); }),
        QStringList({ u"Script execution has succeed. Result(nil)"_s }));
}

void ScriptRunnerTest::runsTheTopLevelWithoutAFunction_data()
{
    QTest::addColumn<QString>("function");
    QTest::newRow("none") << QString();
    QTest::newRow("empty") << u""_s;
}

void ScriptRunnerTest::runsTheTopLevelWithoutAFunction()
{
    QFETCH(QString, function);
    const QString path = write("function scanned_code() error('not to be called') end\n"
                               "return select('#', ...), 'top'");
    QCOMPARE(logOf([&] { QVERIFY(executeScriptWithPath(path, function, { u"not used"_s })); }),
        QStringList({ u"Script execution has succeed. Result(0, top)"_s }));
}

void ScriptRunnerTest::reportsAScriptThatCannotBeLoaded_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error");
    QTest::newRow("syntax") << QByteArray("function") << u"%1:1: <name> expected near <eof>"_s;
    QTest::newRow("precompiled") << QByteArray("\x1bLua")
                                 << u"attempt to load a binary chunk (mode is 't')"_s;
    QTest::newRow("deleted") << QByteArray() << u"cannot open %1: No such file or directory"_s;
}

void ScriptRunnerTest::reportsAScriptThatCannotBeLoaded()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, error);

    const QString path = write(text);
    error.replace(u"%1"_s, path);
    if (text.isNull()) {
        QVERIFY(QFile::remove(path));
    }
    const QStringList log
        = logOf([&] { QVERIFY(!executeScriptWithPath(path, handler, { QString() })); });
    QCOMPARE(log, QStringList({ loadFailure + error }));
}

void ScriptRunnerTest::reportsAScriptThatFailed_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("message");
    QTest::newRow("no handler") << QByteArray("function Scanned_Code() end")
                                << u"the script has no function 'scanned_code'"_s;
    QTest::newRow("error") << QByteArray("function scanned_code(text) error('no ' .. text, 0) end")
                           << u"no text"_s;
    QTest::newRow("exit") << QByteArray("function scanned_code(text) os.exit(1) end")
                          << u"os.exit: a script ends by returning"_s;
    QTest::newRow("memory") << QByteArray("function scanned_code(text)\n"
                                          "  while true do text = text .. text end end")
                            << u"not enough memory"_s;
    QTest::newRow("recursion") << QByteArray("function scanned_code(text)\n"
                                             "  return 1 + scanned_code(text) end")
                               << u"stack overflow"_s;
}

void ScriptRunnerTest::reportsAScriptThatFailed()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, message);

    const QString path = write(text);
    const QStringList log
        = logOf([&] { QVERIFY(!executeScriptWithPath(path, handler, { u"text"_s })); });
    QCOMPARE(log.size(), 1); // one line, whatever the error message contains
    QVERIFY2(log.first().startsWith(failure), qUtf8Printable(log.first()));
    QVERIFY2(log.first().contains(message), qUtf8Printable(log.first()));
    QVERIFY(log.first().contains(u"stack traceback:"_s) || message == u"not enough memory"_s);
}

void ScriptRunnerTest::passesTheTextUnchanged()
{
    const QString text = u"Grüße \"'`$(id)` \\ %1 %s\r\n\t😀"_s + QChar(0) + u"\x1b[0m\u202e"_s;
    const QString seen = m_folder.filePath(u"seen"_s);
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
        QCOMPARE(run(counting), u"Script execution has succeed. Result(1)"_s);
    }
    QCOMPARE(run("function scanned_code() return 'edited' end"),
        u"Script execution has succeed. Result(edited)"_s);
}

void ScriptRunnerTest::runsInParallel()
{
    // Each script waits for the other's file: both end only if they run at the same time.
    const QByteArray text = "function scanned_code(own, other)\n"
                            "  mine = own\n"
                            "  io.open(own, 'w'):close()\n"
                            "  repeat local file = io.open(other) until file\n"
                            "  return mine == own\n"
                            "end";
    const QString path = write(text);
    const QStringList names{ m_folder.filePath(u"1"_s), m_folder.filePath(u"2"_s) };
    std::promise<bool> first;
    std::promise<bool> second;
    const LogLines log;
    platform::dispatchScript([&] { first.set_value(executeScriptWithPath(path, handler, names)); });
    platform::dispatchScript([&] {
        second.set_value(executeScriptWithPath(path, handler, { names.last(), names.first() }));
    });
    QVERIFY(first.get_future().get());
    QVERIFY(second.get_future().get());
    QCOMPARE(LogLines::all(), QStringList(2, u"Script execution has succeed. Result(true)"_s));
}

void ScriptRunnerTest::runsBesideEndlessScripts()
{
    const LogLines log;
    const QString path = write("function scanned_code(text)\n"
                               "  print('begun ' .. text)\n"
                               "  while text == 'endless' do pcall(error) end\n"
                               "end");
    constexpr int endless = 8;
    std::atomic<int> failed = 0;
    for (int number = 0; number < endless; ++number) {
        platform::dispatchScript(
            [&] { failed += executeScriptWithPath(path, handler, { u"endless"_s }) ? 0 : 1; });
    }
    QTRY_COMPARE(LogLines::all().count(u"begun endless"_s), endless);
    std::promise<bool> another;
    platform::dispatchScript(
        [&] { another.set_value(executeScriptWithPath(path, handler, { u"short"_s })); });
    auto done = another.get_future();
    QCOMPARE(done.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    QVERIFY(done.get());

    platform::finishScripts({ std::chrono::milliseconds(0), std::chrono::seconds(30) });
    QCOMPARE(failed.load(), endless);
    const QStringList interrupted
        = LogLines::all().filter(u"interrupted, since the program quits"_s);
    QCOMPARE(interrupted.size(), endless);
    QVERIFY(interrupted.first().startsWith(failure));
}

VELLUMCAP_TEST(ScriptRunnerTest)

#include "tst_scriptrunner.moc"
