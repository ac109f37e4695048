#include "platform/services/Workspace.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

using namespace Qt::StringLiterals;

using platform::Workspace::Activation;

/// Uses a real default handler: a script that writes its arguments and environment to a file.
class WorkspaceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init() { QFile::remove(notesPath()); }

    void passesTheUrlAsOneArgument_data();
    void passesTheUrlAsOneArgument();
    void showsAFolder();
    void reportsAMissingHandler();
    void refusesInvalidUrls_data();
    void refusesInvalidUrls();

private:
    QString notesPath() const { return m_folder.filePath(u"handler.notes"_s); }
    QList<QByteArray> notes() const;

    QTemporaryDir m_folder;
};

namespace {

// Renamed at the end, so that the file is complete when it exists.
constexpr auto handlerScript = R"(#!/bin/sh
notes="${0%/*}/handler.notes"
{
    for argument; do printf '%s\n' "$argument"; done
    printf '%s\n' "${XDG_ACTIVATION_TOKEN-unset}" "${DESKTOP_STARTUP_ID-unset}"
} > "$notes.part"
mv "$notes.part" "$notes"
)";

void writeFile(const QString& path, const QByteArray& contents)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QFile::WriteOnly));
    QCOMPARE(file.write(contents), contents.size());
}

} // namespace

void WorkspaceTest::initTestCase()
{
    const QString script = m_folder.filePath(u"handler"_s);
    writeFile(script, handlerScript);
    QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    writeFile(qEnvironmentVariable("XDG_DATA_HOME") + u"/applications/noting.desktop"_s,
        "[Desktop Entry]\nType=Application\nName=Noting\nStartupNotify=true\nExec="
            + script.toUtf8() + " %u\n");
    writeFile(qEnvironmentVariable("XDG_CONFIG_HOME") + u"/mimeapps.list"_s,
        "[Default Applications]\n"
        "x-scheme-handler/https=noting.desktop\n"
        "x-scheme-handler/mailto=noting.desktop\n"
        "inode/directory=noting.desktop\n");
    // The handler must not get the tokens of this process.
    qputenv("XDG_ACTIVATION_TOKEN", "ours");
    qputenv("DESKTOP_STARTUP_ID", "ours");
}

QList<QByteArray> WorkspaceTest::notes() const
{
    QFile file(notesPath());
    if (!file.open(QFile::ReadOnly)) {
        return {};
    }
    return file.readAll().trimmed().split('\n');
}

void WorkspaceTest::passesTheUrlAsOneArgument_data()
{
    QTest::addColumn<QByteArray>("url");
    QTest::addColumn<QByteArray>("argument");
    const auto row = [](const char* name, const char* url, const char* argument) {
        QTest::newRow(name) << QByteArray(url) << QByteArray(argument);
    };
    constexpr auto same = "";
    row("plain", "https://example.org/a?b=c&d=e#f", same);
    row("command substitution", "https://example.org/$(touch${IFS}here)",
        "https://example.org/$(touch$%7BIFS%7Dhere)");
    row("separators", "https://example.org/;id;&&id|id>here",
        "https://example.org/;id;&&id%7Cid%3Ehere");
    row("quotes", "https://example.org/'a'\"b\"", "https://example.org/'a'%22b%22");
    row("back quotes and backslash", "https://example.org/`id`\\",
        "https://example.org/%60id%60%5C");
    row("space and line", "https://example.org/a%20b%0Ac", same);
    row("dashes", "https://example.org/ --new-window -x",
        "https://example.org/%20--new-window%20-x");
    row("field codes", "https://example.org/%25u%25F/%u", nullptr);
    row("variables", "https://example.org/~/$HOME/*?{a,b}[c]!", nullptr);
    row("other scripts", "https://example.org/Grüße", "https://example.org/Gr%C3%BC%C3%9Fe");
    row("another scheme", "mailto:-someone@example.org?subject=a&body=b", same);
}

void WorkspaceTest::passesTheUrlAsOneArgument()
{
    QFETCH(QByteArray, url);
    QFETCH(QByteArray, argument);

    const QUrl parsed(QString::fromUtf8(url));
    QVERIFY(parsed.isValid());
    const QByteArray expected = argument.isNull() ? parsed.toEncoded()
        : argument.isEmpty()                      ? url
                                                  : argument;
    for (const auto activation : { Activation::Foreground, Activation::Background }) {
        QFile::remove(notesPath());
        QVERIFY(platform::Workspace::open(parsed, activation));
        QTRY_COMPARE(notes(), QList<QByteArray>({ expected, "unset", "unset" }));
    }
}

void WorkspaceTest::showsAFolder()
{
    const QString path = m_folder.filePath(u"a folder; $(id)"_s);
    QVERIFY(QDir().mkpath(path));
    QVERIFY(platform::Workspace::showFolder(path));
    QTRY_COMPARE(notes(), QList<QByteArray>({ path.toUtf8(), "unset", "unset" }));

    QVERIFY(!platform::Workspace::showFolder(path + u"/missing"_s));
}

void WorkspaceTest::reportsAMissingHandler()
{
    const QUrl url(u"nobody-handles-this:something"_s);
    QVERIFY(!platform::Workspace::open(url));
    QVERIFY(!platform::Workspace::open(url, Activation::Background));
}

void WorkspaceTest::refusesInvalidUrls_data()
{
    QTest::addColumn<QUrl>("url");
    QTest::newRow("empty") << QUrl();
    QTest::newRow("no scheme") << QUrl(u"example.org/page"_s);
    QTest::newRow("option") << QUrl(u"--help"_s);
    QTest::newRow("invalid") << QUrl(u"https://exa mple.org"_s, QUrl::StrictMode);
}

void WorkspaceTest::refusesInvalidUrls()
{
    QFETCH(QUrl, url);
    QVERIFY(!platform::Workspace::open(url));
}

VELLUMCAP_TEST(WorkspaceTest)

#include "tst_workspace.moc"
