#include "platform/instance/SingleInstance.h"
#include "tests/support/TestMain.h"

#include <QProcess>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

void say(const QByteArray& line)
{
    std::puts(line.constData());
    std::fflush(stdout);
}

QByteArray described(const QVariantMap& arguments)
{
    QByteArrayList words;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        words += argument.key().toUtf8() + '=' + argument.value().typeName() + ':'
            + argument.value().toString().toUtf8();
    }
    return '{' + words.join(' ') + '}';
}

/// A start of the program: claims the name and runs until its standard input ends.
int runAsStart(QCoreApplication& application)
{
    const auto instance = platform::SingleInstance::claim({
        .reopen = [] { say("reopened " + qgetenv("XDG_ACTIVATION_TOKEN")); },
        .performAction =
            [](const QString& name) {
                say("action " + name.toUtf8() + ' ' + qgetenv("XDG_ACTIVATION_TOKEN"));
            },
        .watch = [](const QVariantMap& arguments) { say("watch " + described(arguments)); },
    });
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

/// A process whose output is collected.
class Process : public QProcess {
public:
    explicit Process(const QString& busAddress)
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, busAddress);
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
    const QByteArray& all() const { return m_said; }
    bool hasEnded() const { return state() == NotRunning; }

private:
    QByteArray m_said;
};

} // namespace

/// Uses real processes on a private session bus.
class SingleInstanceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void activatesTheFirst();
    void oneOfManyOwnsTheName();
    void ownsTheNameAfterTheFirstHasEnded();
    void endsWhenTheOwnerHangs();
    void answersOtherApplications_data();
    void answersOtherApplications();
    void describesItsInterface();
    void runsWithoutABus();
    void runsOnWhenTheBusIsLost();

private:
    std::unique_ptr<Process> startProgram(const QString& token = {}) const;

    std::unique_ptr<QProcess> m_bus;
    QString m_address;
};

void SingleInstanceTest::init()
{
    m_bus = std::make_unique<QProcess>();
    m_bus->start(u"dbus-daemon"_s,
        { u"--session"_s, u"--nofork"_s, u"--nopidfile"_s, u"--print-address"_s });
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
        environment.insert(u"XDG_ACTIVATION_TOKEN"_s, token);
        process->setProcessEnvironment(environment);
    }
    process->start(QCoreApplication::applicationFilePath(), { u"--start"_s });
    return process;
}

void SingleInstanceTest::activatesTheFirst()
{
    const auto first = startProgram();
    QTRY_VERIFY(first->said("owner"));
    const auto second = startProgram(u"token-2"_s);
    QTRY_VERIFY(second->hasEnded());
    QVERIFY(second->said("handed over"));
    QCOMPARE(second->exitCode(), 0);
    QTRY_VERIFY(first->said("reopened token-2"));
    const auto third = startProgram();
    QTRY_VERIFY(first->said("reopened "));
    QVERIFY(!first->hasEnded());
}

void SingleInstanceTest::oneOfManyOwnsTheName()
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

void SingleInstanceTest::endsWhenTheOwnerHangs()
{
    const auto first = startProgram();
    QTRY_VERIFY(first->said("owner"));
    const auto pid = static_cast<pid_t>(first->processId());
    QCOMPARE(::kill(pid, SIGSTOP), 0);
    const auto second = startProgram();
    QTRY_VERIFY(second->hasEnded());
    ::kill(pid, SIGCONT);
    QVERIFY(second->said("handed over"));
    QVERIFY(second->readAllStandardError().contains("running already"));
}

void SingleInstanceTest::answersOtherApplications_data()
{
    QTest::addColumn<QStringList>("call");
    QTest::addColumn<QByteArray>("answer");
    const auto row = [](const char* name, const QStringList& call, const char* answer) {
        QTest::newRow(name) << call << QByteArray(answer);
    };
    const auto none = u"{}"_s;
    const auto token = u"{'activation-token': <'from-elsewhere'>}"_s;
    const auto application = [](const char* method) {
        return u"org.freedesktop.Application."_s + QString::fromLatin1(method);
    };
    row("activate", { application("Activate"), token }, "reopened from-elsewhere");
    row("open", { application("Open"), u"['file:///a']"_s, none }, "reopened ");
    row("action", { application("ActivateAction"), u"Watch"_s, u"[]"_s, token },
        "action Watch from-elsewhere");
    row("action with a parameter", { application("ActivateAction"), u"x"_s, u"[<1>]"_s, none },
        "action x ");

    const auto watch = [](const char* arguments) {
        return QStringList{ u"org.vellumcap.Vellumcap.Watch"_s, QString::fromUtf8(arguments) };
    };
    row("watch", watch("{}"), "watch {}");
    row("watch with all",
        watch("{'OpenInBackground': <true>, 'CloseOnFirstScan': <'YES'>, 'SaveCapture': <1.5>,"
              " 'ScriptName': <'Grüße.scpt'>}"),
        "watch {CloseOnFirstScan=QString:YES OpenInBackground=bool:true SaveCapture=double:1.5"
        " ScriptName=QString:Grüße.scpt}");
    row("numbers",
        watch("{'a': <byte 65>, 'b': <int16 -2>, 'c': <uint32 3>, 'd': <int64 -4>,"
              " 'e': <uint64 18446744073709551615>, 'f': <uint16 5>}"),
        "watch {a=uchar:A b=short:-2 c=uint:3 d=qlonglong:-4 e=qulonglong:18446744073709551615"
        " f=ushort:5}");
    row("variants in variants", watch("{'a': <<<true>>>, 'b': <<'x'>>, 'c': <<[<true>]>>}"),
        "watch {a=bool:true b=QString:x}");
    row("of no use",
        watch("{'a': <[true]>, 'b': <@as []>, 'c': <['x', 'y']>, 'd': <{'x': <1>}>,"
              " 'e': <(1, 'x')>, 'f': <b'bytes'>, 'g': <objectpath '/a'>, 'h': <signature 's'>,"
              " 'i': <@a{sv} {}>, 'j': <{uint32 1: (true, [<'x'>])}>}"),
        "watch {}");
}

void SingleInstanceTest::answersOtherApplications()
{
    QFETCH(QStringList, call);
    QFETCH(QByteArray, answer);

    const auto program = startProgram();
    QTRY_VERIFY(program->said("owner"));
    QProcess caller;
    caller.start(u"gdbus"_s,
        QStringList{ u"call"_s, u"--address"_s, m_address, u"--dest"_s,
            u"org.vellumcap.Vellumcap"_s, u"--object-path"_s, u"/org/vellumcap/Vellumcap"_s,
            u"--method"_s }
            + call);
    QVERIFY(caller.waitForFinished());
    QVERIFY2(caller.exitCode() == 0, caller.readAllStandardError().constData());
    QCOMPARE(caller.readAllStandardOutput(), QByteArray("()\n"));
    QTRY_VERIFY2(program->said(answer), program->all().constData());
}

void SingleInstanceTest::describesItsInterface()
{
    const auto program = startProgram();
    QTRY_VERIFY(program->said("owner"));
    QProcess caller;
    caller.start(u"gdbus"_s,
        { u"introspect"_s, u"--address"_s, m_address, u"--dest"_s, u"org.vellumcap.Vellumcap"_s,
            u"--object-path"_s, u"/org/vellumcap/Vellumcap"_s });
    QVERIFY(caller.waitForFinished());
    const QByteArray description = caller.readAllStandardOutput().simplified();
    QVERIFY2(description.contains("interface org.vellumcap.Vellumcap { methods: "),
        description.constData());
    QVERIFY(description.contains("Watch(in a{sv} arguments); signals: properties: };"));
    QVERIFY(description.contains("interface org.freedesktop.Application {"));
}

void SingleInstanceTest::runsWithoutABus()
{
    m_address = u"unix:path=/nonexistent/bus"_s;
    const auto first = startProgram();
    QTRY_VERIFY(first->said("owner"));
    const auto second = startProgram();
    QTRY_VERIFY(second->said("owner"));
}

void SingleInstanceTest::runsOnWhenTheBusIsLost()
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
    // The process inherits the sandbox of the test, with a bus.
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
