#include "platform/script/ScriptThreads.h"
#include "tests/support/LogLines.h"
#include "tests/support/TestMain.h"
#include "watch/ScriptRunner.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>

#include <future>

using support::LogLines;

namespace {

/// Stands in for the desktop's notifications.
class Notifications : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    QStringList summaries;
    QStringList bodies;

public Q_SLOTS:
    uint Notify(const QString& program, uint replaced, const QString& icon, const QString& summary,
        const QString& body, const QStringList& actions, const QVariantMap& hints, int timeout)
    {
        const bool isPlain = program == QStringLiteral("Vellumcap") && replaced == 0
            && icon == QStringLiteral("org.vellumcap.Vellumcap") && actions.isEmpty()
            && hints.isEmpty() && timeout == -1;
        summaries.append(isPlain ? summary : QStringLiteral("odd"));
        bodies.append(body);
        return static_cast<uint>(bodies.size());
    }
};

/// A web server that notes what is posted to it.
class Hook : public QTcpServer {
public:
    struct Request {
        QByteArray head;
        QByteArray body;
    };
    QList<Request> requests;
    QByteArray status = "200 OK";

    Hook()
    {
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket* connection = nextPendingConnection();
            auto* received = new QByteArray;
            connect(connection, &QObject::destroyed, this, [received] { delete received; });
            connect(connection, &QTcpSocket::disconnected, connection, &QObject::deleteLater);
            connect(connection, &QTcpSocket::readyRead, this, [this, connection, received] {
                *received += connection->readAll();
                take(*connection, *received);
            });
        });
        listen(QHostAddress::LocalHost);
    }

private:
    void take(QTcpSocket& connection, const QByteArray& received)
    {
        const qsizetype end = received.indexOf("\r\n\r\n");
        const QByteArray head = received.left(end).toLower();
        const qsizetype length = head.indexOf("content-length: ");
        if (end < 0 || length < 0) {
            return;
        }
        const auto expected = head.mid(length + 16).split('\r').first().toLongLong();
        if (const QByteArray body = received.mid(end + 4); body.size() == expected) {
            requests.append({ head, body });
            connection.write("HTTP/1.1 " + status + "\r\nContent-Length: 0\r\n\r\n");
            connection.disconnectFromHost();
        }
    }
};

} // namespace

/// Each example, as a user has it, does what it says with texts that want something else.
class ExampleScriptsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void appendsToCsv_data() { addTexts(); }
    void appendsToCsv();
    void keepsFormulasOutOfCsv_data();
    void keepsFormulasOutOfCsv();
    void appendsWholeLinesInParallel();
    void notifies_data() { addTexts(); }
    void notifies();
    void saysThatNobodyNotifies();
    void sendsToAWebHook_data() { addTexts(); }
    void sendsToAWebHook();
    void saysThatTheWebHookFailed();

private:
    static void addTexts();
    static QString example(const char* name)
    {
        return QStringLiteral(VELLUMCAP_EXAMPLES "/") + QString::fromLatin1(name);
    }
    static QString csvPath() { return qEnvironmentVariable("HOME") + QStringLiteral("/codes.csv"); }
    static QByteArray csv()
    {
        QFile file(csvPath());
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    /// Runs the example while this thread answers what it asks for.
    static bool run(const char* name, const QString& text);

    QProcess m_bus;
    Notifications m_notifications;
    Hook m_hook;
};

void ExampleScriptsTest::initTestCase()
{
    m_bus.start(QStringLiteral("dbus-daemon"),
        { QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
            QStringLiteral("--print-address") });
    QTRY_VERIFY(m_bus.canReadLine());
    const QByteArray address = m_bus.readLine().trimmed();
    auto connection = QDBusConnection::connectToBus(
        QString::fromUtf8(address), QStringLiteral("notifications"));
    QVERIFY(connection.registerObject(QStringLiteral("/org/freedesktop/Notifications"),
        &m_notifications, QDBusConnection::ExportAllSlots));
    QVERIFY(connection.registerService(QStringLiteral("org.freedesktop.Notifications")));
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    qputenv("VELLUMCAP_HOOK",
        "http://127.0.0.1:" + QByteArray::number(m_hook.serverPort()) + "/a?b='c'&d=$(id)");
    qputenv("no_proxy", "*");
}

void ExampleScriptsTest::cleanupTestCase()
{
    QDBusConnection::disconnectFromBus(QStringLiteral("notifications"));
    m_bus.kill();
    m_bus.waitForFinished();
}

void ExampleScriptsTest::addTexts()
{
    QTest::addColumn<QString>("text");
    const auto row = [](const char* name, const QString& text) { QTest::newRow(name) << text; };
    row("link", QStringLiteral("https://example.org/a?b=c&d=e#f"));
    row("command", QStringLiteral("; touch ~/gone; rm -rf ~/*"));
    row("quoted command", QStringLiteral("'; touch ~/gone; '"));
    row("doubly quoted command", QStringLiteral("\"; touch ~/gone; \"'; touch ~/gone #"));
    row("substitutions", QStringLiteral("$(touch ~/gone) `touch ~/gone` ${HOME} $HOME"));
    row("backslashes", QStringLiteral("\\'; touch ~/gone; \\\" \\n \\\\ \\u0041"));
    row("lines", QStringLiteral("a\ntouch ~/gone\n\nb\n"));
    row("other line ends", QStringLiteral("a\r\nb\rc"));
    row("options", QStringLiteral("--help"));
    row("short option", QStringLiteral("-n"));
    row("file", QStringLiteral("@/etc/passwd"));
    row("redirection", QStringLiteral("> ~/gone < /etc/passwd | tee ~/gone & touch ~/gone"));
    row("markup", QStringLiteral("<b>x</b> <img src='file:///etc/passwd'> &amp; &lt;"));
    row("commas", QStringLiteral("a,b;c\td"));
    row("quotes", QStringLiteral("\"a\" \"\" 'b' ''"));
    row("patterns", QStringLiteral("%1 %s %d %% %b() * ? [a] {b,c} ~ !"));
    row("other scripts", QStringLiteral("Grüße 読む 😀 \u202e"));
    row("control characters", QStringLiteral("a\x01\x1b[2J\x7f\x08z"));
    row("null character", QStringLiteral("a") + QChar(0) + QStringLiteral("'; touch ~/gone; '"));
    row("nothing", QString());
    row("longest", QString(7089, u'7'));
}

bool ExampleScriptsTest::run(const char* name, const QString& text)
{
    std::promise<bool> done;
    auto outcome = done.get_future();
    platform::dispatchScript([&, path = example(name)] {
        done.set_value(
            vellumcap::executeScriptWithPath(path, QStringLiteral("scanned_code"), { text }));
    });
    const bool isDone = QTest::qWaitFor(
        [&] { return outcome.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
        30000);
    const bool isFine = outcome.get() && isDone;
    return isFine && !QFile::exists(qEnvironmentVariable("HOME") + QStringLiteral("/gone"));
}

void ExampleScriptsTest::appendsToCsv()
{
    QFETCH(QString, text);

    QFile::remove(csvPath());
    for (int number = 0; number < 2; ++number) {
        QVERIFY(run("append-to-csv.scpt", text));
    }
    QByteArray field = text.toUtf8().replace('\0', "");
    if (text.startsWith(u'-') || text.startsWith(u'@')) {
        field.prepend('\'');
    }
    field = ",\"" + field.replace("\"", "\"\"") + "\"\r\n";
    const QByteArray table = csv();
    constexpr qsizetype momentSize = 19;
    QCOMPARE(table.size(), 2 * (momentSize + field.size()));
    QVERIFY(table.endsWith(field));
    QCOMPARE(table.mid(momentSize, field.size()), field);
    const auto moment = QDateTime::fromString(
        QString::fromLatin1(table.left(momentSize)), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    QVERIFY(qAbs(moment.secsTo(QDateTime::currentDateTime())) < 120);
}

void ExampleScriptsTest::keepsFormulasOutOfCsv_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isFormula");
    const auto row = [](const char* text, bool isFormula) {
        QTest::newRow(text) << QString::fromUtf8(text) << isFormula;
    };
    row("=1+1", true);
    row("=HYPERLINK(\"http://example.org\";\"x\")", true);
    row("+49 30 1234", true);
    row("-1", true);
    row("@SUM(A1)", true);
    row("\t=1", true);
    row("\rx", true);
    row("\nx", true);
    row("  =1", true);
    row("1=1", false);
    row("'=1", false);
    row("a+b", false);
}

void ExampleScriptsTest::keepsFormulasOutOfCsv()
{
    QFETCH(QString, text);
    QFETCH(bool, isFormula);

    QFile::remove(csvPath());
    QVERIFY(run("append-to-csv.scpt", text));
    const QByteArray written = text.toUtf8().replace("\"", "\"\"");
    QVERIFY(csv().endsWith((isFormula ? ",\"'" : ",\"") + written + "\"\r\n"));
}

void ExampleScriptsTest::appendsWholeLinesInParallel()
{
    QFile::remove(csvPath());
    constexpr int count = 60;
    std::vector<std::promise<bool>> done(count);
    const LogLines log;
    for (int number = 0; number < count; ++number) {
        platform::dispatchScript([&, number] {
            const QString text(20000, QChar(u'A' + number % 26));
            done[static_cast<std::size_t>(number)].set_value(vellumcap::executeScriptWithPath(
                example("append-to-csv.scpt"), QStringLiteral("scanned_code"), { text }));
        });
    }
    for (auto& each : done) {
        QVERIFY(each.get_future().get());
    }
    const QByteArrayList lines = csv().trimmed().split('\n');
    QCOMPARE(lines.size(), count);
    for (const QByteArray& line : lines) {
        const QByteArray text = line.trimmed().mid(21).chopped(1);
        QCOMPARE(text, QByteArray(20000, text.front()));
    }
}

void ExampleScriptsTest::notifies()
{
    QFETCH(QString, text);

    m_notifications.bodies.clear();
    m_notifications.summaries.clear();
    QVERIFY(run("notify.scpt", text));
    QString body;
    const QString escaped
        = text.toHtmlEscaped().replace(QStringLiteral("&quot;"), QStringLiteral("\""));
    for (const QChar character : escaped) {
        const bool isControl = character < u' ' || character == QChar(0x7f);
        body += isControl && character != u'\n' ? QChar(u' ') : character;
    }
    QCOMPARE(m_notifications.bodies, QStringList{ body });
    QCOMPARE(m_notifications.summaries, QStringList{ QStringLiteral("New code") });
}

void ExampleScriptsTest::saysThatNobodyNotifies()
{
    const LogLines log;
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    QVERIFY(!run("notify.scpt", QStringLiteral("text")));
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    QVERIFY(LogLines::all().last().contains(QStringLiteral("gdbus: exit 1")));
}

void ExampleScriptsTest::sendsToAWebHook()
{
    QFETCH(QString, text);

    m_hook.requests.clear();
    QVERIFY(run("send-to-web-hook.scpt", text));
    QCOMPARE(m_hook.requests.size(), 1);
    const auto& request = m_hook.requests.first();
    QVERIFY2(
        request.head.startsWith("post /a?b='c'&d=$(id) http/1.1\r\n"), request.head.constData());
    QVERIFY(request.head.contains("content-type: application/json"));
    QCOMPARE(QJsonDocument::fromJson(request.body).object(),
        QJsonObject({ { QStringLiteral("text"), text } }));
}

void ExampleScriptsTest::saysThatTheWebHookFailed()
{
    const LogLines log;
    m_hook.status = "500 Internal Server Error";
    QVERIFY(!run("send-to-web-hook.scpt", QStringLiteral("text")));
    m_hook.status = "200 OK";
    QVERIFY(LogLines::all().last().contains(QStringLiteral("curl: exit 22")));

    m_hook.close();
    QVERIFY(!run("send-to-web-hook.scpt", QStringLiteral("text")));
    QVERIFY(LogLines::all().last().contains(QStringLiteral("curl: exit 7")));
}

VELLUMCAP_TEST_MAIN(ExampleScriptsTest)

#include "tst_examplescripts.moc"
