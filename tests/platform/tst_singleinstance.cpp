#include "platform/instance/SingleInstance.h"
#include "tests/support/TestMain.h"

#include <QProcess>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <unistd.h>
#include <vector>

namespace {

void say(const QByteArray& line)
{
    std::puts(line.constData());
    std::fflush(stdout);
}

/// What a start of the program does: claims, and runs until its standard input ends.
int runAsStart(QCoreApplication& application)
{
    const auto instance = platform::SingleInstance::claim(
        [] { say("reopened " + qgetenv("XDG_ACTIVATION_TOKEN")); });
    if (instance == nullptr) {
        say("handed over");
        return 0;
    }
    say("owner");
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [] {
        char text[16];
        if (::read(STDIN_FILENO, text, sizeof text) > 0) {
            say("alive");
        } else {
            QCoreApplication::exit();
        }
    });
    return application.exec();
}

/// A process that writes down what it says.
class Process : public QProcess {
public:
    explicit Process(const QString& busAddress)
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), busAddress);
        setProcessEnvironment(environment);
    }
    ~Process() override
    {
        closeWriteChannel();
        if (!waitForFinished(5000)) {
            kill();
            waitForFinished();
        }
    }

    bool said(const QByteArray& line)
    {
        m_said += readAllStandardOutput();
        return m_said.contains(line + '\n');
    }
    bool hasEnded() const { return state() == NotRunning; }

private:
    QByteArray m_said;
};

} // namespace

/// Real processes on a session bus of the test's own.
class SingleInstanceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void handsOverToTheFirst();
    void letsOneOfManyWin();
    void ownsTheNameAfterTheFirstHasEnded();
    void endsWhereTheOwnerHangs();
    void answersOtherApplications_data();
    void answersOtherApplications();
    void goesOnWithoutABus();
    void goesOnWhenTheBusIsLost();

private:
    std::unique_ptr<Process> startProgram(const QString& token = {}) const;

    std::unique_ptr<QProcess> m_bus;
    QString m_address;
};

void SingleInstanceTest::init()
{
    m_bus = std::make_unique<QProcess>();
    m_bus->start(QStringLiteral("dbus-daemon"),
        { QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
            QStringLiteral("--print-address") });
    QVERIFY(m_bus->waitForStarted());
    QTRY_VERIFY(m_bus->canReadLine());
    m_address = QString::fromUtf8(m_bus->readLine().trimmed());
}

void SingleInstanceTest::cleanup()
{
    m_bus->kill();
    m_bus->waitForFinished();
}

std::unique_ptr<Process> SingleInstanceTest::startProgram(const QString& token) const
{
    auto process = std::make_unique<Process>(m_address);
    if (!token.isEmpty()) {
        auto environment = process->processEnvironment();
        environment.insert(QStringLiteral("XDG_ACTIVATION_TOKEN"), token);
        process->setProcessEnvironment(environment);
    }
    process->start(QCoreApplication::applicationFilePath(), { QStringLiteral("--start") });
    return process;
}

void SingleInstanceTest::handsOverToTheFirst()
{
    const auto first = startProgram();
    QTRY_VERIFY(first->said("owner"));
    const auto second = startProgram(QStringLiteral("token-2"));
    QTRY_VERIFY(second->hasEnded());
    QVERIFY(second->said("handed over"));
    QCOMPARE(second->exitCode(), 0);
    QTRY_VERIFY(first->said("reopened token-2"));
    const auto third = startProgram();
    QTRY_VERIFY(first->said("reopened "));
    QVERIFY(!first->hasEnded());
}

void SingleInstanceTest::letsOneOfManyWin()
{
    std::vector<std::unique_ptr<Process>> starts;
    constexpr int startCount = 6;
    starts.reserve(startCount);
    for (int number = 0; number < startCount; ++number) {
        starts.push_back(startProgram());
    }
    int owners = 0;
    for (const auto& start : starts) {
        QTRY_VERIFY(start->said("owner") || start->said("handed over"));
        owners += start->said("owner") ? 1 : 0;
    }
    QCOMPARE(owners, 1);
}

void SingleInstanceTest::ownsTheNameAfterTheFirstHasEnded()
{
    for (int number = 0; number < 2; ++number) {
        const auto program = startProgram();
        QTRY_VERIFY(program->said("owner"));
        program->closeWriteChannel();
        QTRY_VERIFY(program->hasEnded());
        QCOMPARE(program->exitCode(), 0);
    }
}

void SingleInstanceTest::endsWhereTheOwnerHangs()
{
    const auto first = startProgram();
    QTRY_VERIFY(first->said("owner"));
    const auto pid = static_cast<pid_t>(first->processId());
    QCOMPARE(::kill(pid, SIGSTOP), 0);
    const auto second = startProgram();
    QTRY_VERIFY_WITH_TIMEOUT(second->hasEnded(), 20000);
    ::kill(pid, SIGCONT);
    QVERIFY(second->said("handed over"));
    QVERIFY(second->readAllStandardError().contains("running already"));
}

void SingleInstanceTest::answersOtherApplications_data()
{
    QTest::addColumn<QStringList>("call");
    QTest::addColumn<bool>("reopens");
    const auto none = QStringLiteral("{}");
    QTest::newRow("activate") << QStringList{ QStringLiteral("Activate"),
        QStringLiteral("{'activation-token': <'from-elsewhere'>}") }
                              << true;
    QTest::newRow("open") << QStringList{ QStringLiteral("Open"), QStringLiteral("['file:///a']"),
        none } << true;
    QTest::newRow("another action") << QStringList{ QStringLiteral("ActivateAction"),
        QStringLiteral("unknown"), QStringLiteral("[<1>]"), none }
                                    << false;
}

void SingleInstanceTest::answersOtherApplications()
{
    QFETCH(QStringList, call);
    QFETCH(bool, reopens);

    const auto program = startProgram();
    QTRY_VERIFY(program->said("owner"));
    const QString method = QStringLiteral("org.freedesktop.Application.") + call.takeFirst();
    QProcess caller;
    caller.start(QStringLiteral("gdbus"),
        QStringList{ QStringLiteral("call"), QStringLiteral("--address"), m_address,
            QStringLiteral("--dest"), QStringLiteral("org.vellumcap.Vellumcap"),
            QStringLiteral("--object-path"), QStringLiteral("/org/vellumcap/Vellumcap"),
            QStringLiteral("--method"), method }
            + call);
    QVERIFY(caller.waitForFinished());
    QVERIFY2(caller.exitCode() == 0, caller.readAllStandardError().constData());
    program->write("\n"); // what it says to this comes after what it said to the call
    QTRY_VERIFY(program->said("alive"));
    QCOMPARE(program->said("reopened ") || program->said("reopened from-elsewhere"), reopens);
}

void SingleInstanceTest::goesOnWithoutABus()
{
    m_address = QStringLiteral("unix:path=/nonexistent/bus");
    const auto first = startProgram();
    QTRY_VERIFY(first->said("owner"));
    const auto second = startProgram();
    QTRY_VERIFY(second->said("owner"));
}

void SingleInstanceTest::goesOnWhenTheBusIsLost()
{
    const auto program = startProgram();
    QTRY_VERIFY(program->said("owner"));
    m_bus->kill();
    QVERIFY(m_bus->waitForFinished());
    program->write("\n");
    QTRY_VERIFY(program->said("alive"));
    program->closeWriteChannel();
    QTRY_VERIFY(program->hasEnded());
    QCOMPARE(program->exitStatus(), QProcess::NormalExit);
    QCOMPARE(program->exitCode(), 0);
}

int main(int argc, char** argv)
{
    // A start inherits the sandbox, but has a bus.
    const bool isStart = argc > 1 && QByteArray(argv[1]) == "--start";
    if (isStart) {
        platform::Application application(argc, argv);
        return runAsStart(application);
    }
    const support::Sandbox sandbox;
    platform::Application application(argc, argv);
    SingleInstanceTest cases;
    return QTest::qExec(&cases, argc, argv);
}

#include "tst_singleinstance.moc"
