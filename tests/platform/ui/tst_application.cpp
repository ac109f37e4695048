#include "platform/services/Dispatch.h"
#include "tests/support/Alerts.h"
#include "tests/support/TestMain.h"

#include <QFile>
#include <QProcess>
#include <QTimer>

#include <csignal>
#include <cstdio>

using namespace Qt::StringLiterals;

using platform::Application;
using platform::TerminateReply;

namespace {

/// Counts the questions to it; its answers can be set.
class NotingDelegate : public platform::ApplicationDelegate {
public:
    NotingDelegate() { Application::shared().setDelegate(this); }
    ~NotingDelegate() override { Application::shared().setDelegate(nullptr); }

    void applicationDidFinishLaunching() override { launched(); }
    void applicationShouldHandleReopen() override { }
    TerminateReply applicationShouldTerminate(Application&) override
    {
        ++timesAsked;
        return reply();
    }
    QUndoStack* windowWillReturnUndoManager() override { return nullptr; }
    bool respondsTo(const QAction&) const override { return false; }
    bool validateMenuItem(const QAction&) const override { return false; }
    void perform(QAction&) override { }

    std::function<void()> launched = [] {};
    std::function<TerminateReply()> reply = [] { return TerminateReply::Now; };
    int timesAsked = 0;
};

void say(const char* line)
{
    std::puts(line);
    std::fflush(stdout);
}

/// Runs as a child process, which signals can end.
int runAsChild(Application& application)
{
    NotingDelegate delegate;
    delegate.launched = [] { say("launched"); };
    delegate.reply = [&delegate] {
        say("asked");
        return delegate.timesAsked == 1 ? TerminateReply::Cancel : TerminateReply::Now;
    };
    platform::dispatchGlobal(platform::QualityOfService::Utility,
        [] { platform::dispatchMain([] { say("job's end"); }); });
    return application.run();
}

int endAtOnce()
{
    platform::dispatchGlobal(platform::QualityOfService::Utility, [] {
        platform::dispatchMain([] {
            say("job's end");
            auto* object = new QObject;
            QObject::connect(object, &QObject::destroyed, [] { say("deleted"); });
            object->deleteLater();
        });
    });
    return 0;
}

} // namespace

class ApplicationTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void hasTheProgramsNames();
    void launchesInTheEventLoop();
    void staysWhenTheDelegateCancels();
    void asksOnceAtATime();
    void asksBeforeQtQuits();
    void doesNotQuitWithTheLastWindow();
    void presentsErrors();
    void endsOnSignals_data();
    void endsOnSignals();
    void ignoresHangUpsUnderNohup();
    void finishesBackgroundWorkAtTheEnd();
};

void ApplicationTest::hasTheProgramsNames()
{
    QCOMPARE(&Application::shared(), qApp);
    QCOMPARE(Application::applicationDisplayName(), u"Vellumcap"_s);
    QCOMPARE(Application::desktopFileName(), u"org.vellumcap.Vellumcap"_s);
    QVERIFY(!Application::quitOnLastWindowClosed());
}

void ApplicationTest::launchesInTheEventLoop()
{
    NotingDelegate delegate;
    bool isRunning = false;
    delegate.launched = [&isRunning] {
        isRunning = QThread::currentThread()->loopLevel() == 1;
        Application::shared().terminate();
    };
    QCOMPARE(Application::shared().run(), 0);
    QVERIFY(isRunning);
    QCOMPARE(delegate.timesAsked, 1);
}

void ApplicationTest::staysWhenTheDelegateCancels()
{
    NotingDelegate delegate;
    bool stayed = false;
    delegate.launched = [&] {
        delegate.reply = [] { return TerminateReply::Cancel; };
        Application::shared().terminate();
        QTimer::singleShot(0, [&] {
            stayed = true;
            delegate.reply = [] { return TerminateReply::Now; };
            Application::shared().terminate();
        });
    };
    QCOMPARE(Application::shared().run(), 0);
    QVERIFY(stayed);
    QCOMPARE(delegate.timesAsked, 2);
}

void ApplicationTest::asksOnceAtATime()
{
    NotingDelegate delegate;
    delegate.reply = [] {
        Application::shared().terminate(); // as a signal does during an alert
        return TerminateReply::Now;
    };
    delegate.launched = [] { Application::shared().terminate(); };
    QCOMPARE(Application::shared().run(), 0);
    QCOMPARE(delegate.timesAsked, 1);
}

void ApplicationTest::asksBeforeQtQuits()
{
    NotingDelegate delegate;
    QWidget window;
    window.show();
    delegate.launched = [&] {
        delegate.reply = [&] {
            const bool isFirst = delegate.timesAsked == 1;
            if (isFirst) {
                QMetaObject::invokeMethod(
                    qApp, [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
            }
            return isFirst ? TerminateReply::Cancel : TerminateReply::Now;
        };
        QCoreApplication::quit();
    };
    QCOMPARE(Application::shared().run(), 0);
    QCOMPARE(delegate.timesAsked, 2);
    QVERIFY(window.isVisible());
}

void ApplicationTest::doesNotQuitWithTheLastWindow()
{
    NotingDelegate delegate;
    QWidget window;
    bool outlived = false;
    delegate.launched = [&] {
        window.show();
        window.close();
        QTimer::singleShot(0, [&] {
            outlived = delegate.timesAsked == 0;
            Application::shared().terminate();
        });
    };
    QCOMPARE(Application::shared().run(), 0);
    QVERIFY(outlived);
}

void ApplicationTest::presentsErrors()
{
    QList<support::AlertSeen> seen;
    support::answerNextAlert(0, seen);
    QVERIFY(
        !Application::shared().presentError({ u"test"_s, 1, u"It failed."_s, u"<b>So.</b>"_s }));
    QCOMPARE(seen.size(), 1);
    QCOMPARE(seen.first().text, u"It failed."_s);
    QCOMPARE(seen.first().informativeText, u"<b>So.</b>"_s);
    QCOMPARE(seen.first().buttons, QStringList{ u"OK"_s });
}

void ApplicationTest::endsOnSignals_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("terminate") << SIGTERM;
    QTest::newRow("interrupt") << SIGINT;
    QTest::newRow("hang up") << SIGHUP;
}

void ApplicationTest::endsOnSignals()
{
    QFETCH(int, number);

    QProcess child;
    child.setChildProcessModifier([] { std::signal(SIGHUP, SIG_DFL); });
    QByteArray said;
    child.start(QCoreApplication::applicationFilePath(), { u"--run"_s });
    const auto heard = [&](const char* line) {
        said += child.readAllStandardOutput();
        return said.contains(line);
    };
    QTRY_VERIFY(heard("launched\n"));
    QTRY_VERIFY(heard("job's end\n"));
    QCOMPARE(::kill(static_cast<pid_t>(child.processId()), number), 0);
    QTRY_VERIFY(heard("asked\n"));
    QCOMPARE(child.state(), QProcess::Running);
    QCOMPARE(::kill(static_cast<pid_t>(child.processId()), number), 0);
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 0);
    said += child.readAllStandardOutput();
    QCOMPARE(said.count("asked\n"), 2);
}

void ApplicationTest::ignoresHangUpsUnderNohup()
{
    QProcess child;
    child.setChildProcessModifier([] { std::signal(SIGHUP, SIG_IGN); });
    child.start(QCoreApplication::applicationFilePath(), { u"--run"_s });
    QByteArray said;
    QTRY_VERIFY((said += child.readAllStandardOutput()).contains("launched\n"));
    QFile status(u"/proc/%1/status"_s.arg(child.processId()));
    QVERIFY(status.open(QFile::ReadOnly));
    const QByteArray lines = status.readAll();
    const qulonglong ignored
        = lines.mid(lines.indexOf("SigIgn:\t") + 8).left(16).toULongLong(nullptr, 16);
    QVERIFY((ignored & (1U << (SIGHUP - 1))) != 0);
    child.kill();
    QVERIFY(child.waitForFinished());
}

void ApplicationTest::finishesBackgroundWorkAtTheEnd()
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), { u"--end"_s });
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitCode(), 0);
    QCOMPARE(child.readAllStandardOutput(), QByteArray("job's end\ndeleted\n"));
}

int main(int argc, char** argv)
{
    const support::Sandbox sandbox;
    Application application(argc, argv);
    if (application.arguments().contains(u"--run"_s)) {
        return runAsChild(application);
    }
    if (application.arguments().contains(u"--end"_s)) {
        return endAtOnce();
    }
    ApplicationTest cases;
    return QTest::qExec(&cases, argc, argv);
}

#include "tst_application.moc"
