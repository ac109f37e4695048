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

using namespace Qt::StringLiterals;

using support::LogLines;

namespace {

/// Takes the place of the desktop's notification service.
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
        const bool isPlain = program == u"Vellumcap"_s && replaced == 0
            && icon == u"org.vellumcap.Vellumcap"_s && actions.isEmpty() && hints.isEmpty()
            && timeout == -1;
        summaries.append(isPlain ? summary : u"odd"_s);
        bodies.append(body);
        return static_cast<uint>(bodies.size());
    }
};

/// A web server that records what is posted to it.
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

/// Runs each example script with hostile texts.
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
    void reportsAMissingNotificationService();
    void sendsToAWebHook_data() { addTexts(); }
    void sendsToAWebHook();
    void reportsAFailedWebHook();

private:
    static void addTexts();
    static QString example(const char* name)
    {
        return QStringLiteral(VELLUMCAP_EXAMPLES "/") + QString::fromLatin1(name);
    }
    static QString csvPath() { return qEnvironmentVariable("HOME") + u"/codes.csv"_s; }
    static QByteArray csv()
    {
        QFile file(csvPath());
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    /// Runs the example on another thread, while this thread serves its requests.
    static bool run(const char* name, const QString& text);

    QProcess m_bus;
    Notifications m_notifications;
    Hook m_hook;
};

void ExampleScriptsTest::initTestCase()
{
    m_bus.start(u"dbus-daemon"_s,
        { u"--session"_s, u"--nofork"_s, u"--nopidfile"_s, u"--print-address"_s });
    QTRY_VERIFY(m_bus.canReadLine());
    const QByteArray address = m_bus.readLine().trimmed();
    auto connection = QDBusConnection::connectToBus(QString::fromUtf8(address), u"notifications"_s);
    QVERIFY(connection.registerObject(
        u"/org/freedesktop/Notifications"_s, &m_notifications, QDBusConnection::ExportAllSlots));
    QVERIFY(connection.registerService(u"org.freedesktop.Notifications"_s));
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    qputenv("VELLUMCAP_HOOK",
        "http://127.0.0.1:" + QByteArray::number(m_hook.serverPort()) + "/a?b='c'&d=$(id)");
    qputenv("no_proxy", "*");
}

void ExampleScriptsTest::cleanupTestCase()
{
    QDBusConnection::disconnectFromBus(u"notifications"_s);
    m_bus.kill();
    m_bus.waitForFinished();
}

void ExampleScriptsTest::addTexts()
{
    QTest::addColumn<QString>("text");
    const auto row = [](const char* name, const QString& text) { QTest::newRow(name) << text; };
    row("link", u"https://example.org/a?b=c&d=e#f"_s);
    row("command", u"; touch ~/gone; rm -rf ~/*"_s);
    row("quoted command", u"'; touch ~/gone; '"_s);
    row("doubly quoted command", u"\"; touch ~/gone; \"'; touch ~/gone #"_s);
    row("substitutions", u"$(touch ~/gone) `touch ~/gone` ${HOME} $HOME"_s);
    row("backslashes", u"\\'; touch ~/gone; \\\" \\n \\\\ \\u0041"_s);
    row("lines", u"a\ntouch ~/gone\n\nb\n"_s);
    row("other line ends", u"a\r\nb\rc"_s);
    row("options", u"--help"_s);
    row("short option", u"-n"_s);
    row("file", u"@/etc/passwd"_s);
    row("redirection", u"> ~/gone < /etc/passwd | tee ~/gone & touch ~/gone"_s);
    row("markup", u"<b>x</b> <img src='file:///etc/passwd'> &amp; &lt;"_s);
    row("commas", u"a,b;c\td"_s);
    row("quotes", u"\"a\" \"\" 'b' ''"_s);
    row("patterns", u"%1 %s %d %% %b() * ? [a] {b,c} ~ !"_s);
    row("other scripts", u"Grüße 読む 😀 \u202e"_s);
    row("control characters", u"a\x01\x1b[2J\x7f\x08z"_s);
    row("null character", u"a"_s + QChar(0) + u"'; touch ~/gone; '"_s);
    row("nothing", QString());
    row("longest", QString(7089, u'7'));
}

bool ExampleScriptsTest::run(const char* name, const QString& text)
{
    std::promise<bool> done;
    auto outcome = done.get_future();
    platform::dispatchScript([&, path = example(name)] {
        done.set_value(vellumcap::executeScriptWithPath(path, u"scanned_code"_s, { text }));
    });
    const bool isDone = QTest::qWaitFor(
        [&] { return outcome.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
        2 * support::patience);
    const bool isFine = outcome.get() && isDone;
    return isFine && !QFile::exists(qEnvironmentVariable("HOME") + u"/gone"_s);
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
        QString::fromLatin1(table.left(momentSize)), u"yyyy-MM-dd HH:mm:ss"_s);
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
                example("append-to-csv.scpt"), u"scanned_code"_s, { text }));
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
    const QString escaped = text.toHtmlEscaped().replace(u"&quot;"_s, u"\""_s);
    for (const QChar character : escaped) {
        const bool isControl = character < u' ' || character == QChar(0x7f);
        body += isControl && character != u'\n' ? QChar(u' ') : character;
    }
    QCOMPARE(m_notifications.bodies, QStringList{ body });
    QCOMPARE(m_notifications.summaries, QStringList{ u"New code"_s });
}

void ExampleScriptsTest::reportsAMissingNotificationService()
{
    const LogLines log;
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    QVERIFY(!run("notify.scpt", u"text"_s));
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    QVERIFY(LogLines::all().last().contains(u"gdbus: exit 1"_s));
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
    QCOMPARE(QJsonDocument::fromJson(request.body).object(), QJsonObject({ { u"text"_s, text } }));
}

void ExampleScriptsTest::reportsAFailedWebHook()
{
    const LogLines log;
    m_hook.status = "500 Internal Server Error";
    QVERIFY(!run("send-to-web-hook.scpt", u"text"_s));
    m_hook.status = "200 OK";
    QVERIFY(LogLines::all().last().contains(u"curl: exit 22"_s));

    m_hook.close();
    QVERIFY(!run("send-to-web-hook.scpt", u"text"_s));
    QVERIFY(LogLines::all().last().contains(u"curl: exit 7"_s));
}

VELLUMCAP_TEST(ExampleScriptsTest)

#include "tst_examplescripts.moc"
