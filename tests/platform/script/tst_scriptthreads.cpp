// Threads: std
#include "platform/script/Script.h"
#include "platform/script/ScriptThreads.h"
#include "platform/services/Log.h"
#include "tests/support/LogLines.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QProcess>
#include <QTemporaryDir>

#include <atomic>
#include <cstdio>
#include <future>
#include <latch>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

using platform::Script;
using platform::ScriptTimeouts;
using std::chrono::milliseconds;
using std::chrono::seconds;

class ScriptThreadsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void runsAJobBesideEndlessOnes();
    void startsNoMoreThanItsThreads();
    void continuesAfterAnException();
    void dropsWaitingJobs(); // the last one: no script runs in this process afterwards
    void quits_data();
    void quits();
};

namespace {

constexpr int threadLimit = 32;
constexpr ScriptTimeouts shortTimeouts{ milliseconds(300), milliseconds(300) };

/// Runs a script as the program does, until standard input ends; then quits.
int runAndQuit(const QString& path, const ScriptTimeouts& timeouts)
{
    platform::dispatchScript([path] {
        platform::log(u"loading"_s);
        auto script = Script::load(path);
        const auto outcome = script->executeHandler(u"h"_s, {});
        platform::log(u"outcome: "_s + (outcome ? *outcome : outcome.error().localizedDescription));
    });
    char note = 0;
    while (::read(STDIN_FILENO, &note, 1) > 0) { }
    platform::finishScripts(timeouts);
    platform::log(u"finished"_s);
    return 0;
}

} // namespace

void ScriptThreadsTest::runsAJobBesideEndlessOnes()
{
    // Many more jobs than cores.
    constexpr int endless = threadLimit - 1;
    std::promise<void> released;
    const std::shared_future<void> release = released.get_future().share();
    std::latch begun(endless);
    std::latch ended(endless);
    for (int number = 0; number < endless; ++number) {
        platform::dispatchScript([&, release] {
            begun.count_down();
            release.wait();
            ended.count_down();
        });
    }
    begun.wait();
    std::promise<void> another;
    platform::dispatchScript([&another] { another.set_value(); });
    QCOMPARE(another.get_future().wait_for(seconds(30)), std::future_status::ready);
    released.set_value();
    ended.wait();
}

void ScriptThreadsTest::startsNoMoreThanItsThreads()
{
    constexpr int jobCount = 4 * threadLimit;
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    std::latch ended(jobCount);
    std::latch full(threadLimit);
    for (int number = 0; number < jobCount; ++number) {
        platform::dispatchScript([&, number] {
            const int now = ++running;
            int before = most;
            while (before < now && !most.compare_exchange_weak(before, now)) { }
            if (number < threadLimit) {
                full.arrive_and_wait(); // the first jobs run at the same time
            }
            --running;
            ended.count_down();
        });
    }
    ended.wait();
    QCOMPARE(most.load(), threadLimit);
}

void ScriptThreadsTest::continuesAfterAnException()
{
    const support::LogLines log;
    std::promise<void> done;
    platform::dispatchScript([] { throw std::runtime_error("out of luck"); });
    QTRY_VERIFY(support::LogLines::contain(u"A job failed: out of luck"_s));
    platform::dispatchScript([&done] { done.set_value(); });
    QCOMPARE(done.get_future().wait_for(seconds(30)), std::future_status::ready);
}

void ScriptThreadsTest::dropsWaitingJobs()
{
    std::promise<void> released;
    const std::shared_future<void> release = released.get_future().share();
    std::atomic<int> begun = 0;
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> observed = held;
    for (int number = 0; number < threadLimit; ++number) {
        platform::dispatchScript([&begun, release] {
            ++begun;
            release.wait();
        });
    }
    platform::dispatchScript([&begun, held] { begun += 1000 * *held; });
    held.reset();
    QTRY_COMPARE(begun.load(), threadLimit);

    // Waits for the jobs: threads outside of scripts are never abandoned.
    std::thread finishing([] { platform::finishScripts(shortTimeouts); });
    QTRY_VERIFY(observed.expired());
    released.set_value();
    finishing.join();
    QCOMPARE(begun.load(), threadLimit);

    platform::dispatchScript([&begun] { ++begun; });
    platform::finishScripts(shortTimeouts);
    QCOMPARE(begun.load(), threadLimit);
    QVERIFY(platform::ScriptThreads::areInterrupted());
}

void ScriptThreadsTest::quits_data()
{
    QTest::addColumn<QByteArray>("text"); ///< empty: the file is a pipe without a writer
    QTest::addColumn<QByteArray>("outcome"); ///< empty: the script never returns
    QTest::addColumn<ScriptTimeouts>("timeouts");

    // Short timeouts where they expire.
    struct End {
        const char* outcome;
        ScriptTimeouts timeouts;
    };
    const auto row = [](const char* name, const char* text, const End& end) {
        QTest::newRow(name) << QByteArray(text) << QByteArray(end.outcome) << end.timeouts;
    };
    constexpr auto interruption = "interrupted, since the program quits";
    constexpr End interrupted{ interruption, { milliseconds(300), seconds(30) } };
    constexpr End halfInterrupted{ interruption, { milliseconds(300), seconds(5) } };
    constexpr End abandoned{ "", shortTimeouts };
    constexpr End eitherWay{ nullptr, shortTimeouts };
    // A command that runs until this process ends.
    const QByteArray wait = "'exec tail --pid=$PPID -f /dev/null'";

    row("nearly done", "local t = os.clock() repeat until os.clock() > t + 0.1 return 'done'",
        { "done", { seconds(30), seconds(30) } });
    row("endless loop", "while true do end", interrupted);
    row("endless top level", "end print 'begun' while true do end function h()", interrupted);
    row("recursion", "local function f() return f() end f()", interrupted);
    row("caught", "while true do pcall(function() while true do end end) end", interrupted);
    row("caught by its own", "local function f() while true do pcall(f) end end f()", interrupted);
    // Lua calls the handler of an error that a hook raised without the hook.
    row("handled",
        "while true do xpcall(function() while true do end end, function() while true do end end)"
        " end",
        abandoned);
    row("closed",
        "local c <close> = setmetatable({}, { __close = function() while true do end end })\n"
        "while true do end",
        interrupted);
    row("coroutines",
        "while true do coroutine.resume(coroutine.create(function() while true do end end)) end",
        interrupted);
    row("coroutines in coroutines",
        "local function f() while true do coroutine.resume(coroutine.create(f)) end end f()",
        eitherWay);
    row("without a hook", "pcall(debug.sethook) while true do end", interrupted);
    row("printing", "while true do print(('x'):rep(1000)) end", interrupted);
    // The script ends, but not its finalizer.
    row("finalizer",
        "setmetatable({}, { __gc = function() while true do print('late') end end })\n"
        "while true do end",
        halfInterrupted);
    row("search", "return (('a'):rep(30000)):find(('.-'):rep(20) .. 'b')", abandoned);
    row("command", "os.execute(" + wait + ")", abandoned);
    row("reading a command", "return io.popen(" + wait + "):read('a')", abandoned);
    row("closing a command", "io.popen(" + wait + ", 'w'):close()", abandoned);
    row("no file", "", abandoned);
}

void ScriptThreadsTest::quits()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, outcome);
    QFETCH(ScriptTimeouts, timeouts);

    const QTemporaryDir folder;
    const QString path = folder.filePath(u"a.scpt"_s);
    if (text.isEmpty()) {
        QCOMPARE(::mkfifo(path.toUtf8().constData(), S_IRWXU), 0);
    } else {
        support::writeFile(path, "function h() print 'begun' " + text + " end");
    }
    QProcess program;
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(QCoreApplication::applicationFilePath(),
        { u"--run-and-quit"_s, path, QString::number(timeouts.untilInterrupted.count()),
            QString::number(timeouts.untilAbandoned.count()) });
    QByteArray said;
    const QByteArray sign = text.isEmpty() ? "loading\n" : "begun\n";
    QTRY_VERIFY_WITH_TIMEOUT((said += program.readAll()).contains(sign), 30000);

    program.closeWriteChannel();
    QVERIFY(program.waitForFinished(90000));
    said += program.readAll();
    QVERIFY2(program.exitStatus() == QProcess::NormalExit, said.constData());
    QVERIFY2(program.exitCode() == 0, said.constData());
    QVERIFY2(said.endsWith("finished\n"), said.constData());
    if (!outcome.isNull()) {
        const qsizetype line = said.indexOf("outcome: ");
        QCOMPARE(line >= 0, !outcome.isEmpty());
        QVERIFY2(said.indexOf(outcome, line) >= 0, said.constData());
    }
}

int main(int argc, char** argv)
{
    const support::Sandbox sandbox;
    platform::Application application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.value(1) == u"--run-and-quit"_s) {
        return runAndQuit(arguments.at(2),
            { milliseconds(arguments.at(3).toInt()), milliseconds(arguments.at(4).toInt()) });
    }
    ScriptThreadsTest cases;
    return QTest::qExec(&cases, argc, argv);
}

#include "tst_scriptthreads.moc"
