#include "platform/services/StandardFolders.h"
#include "tests/support/LogLines.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"
#include "watch/ScriptFolder.h"

#include <QDir>
#include <QFile>

using support::LogLines;
using vellumcap::scanScriptFolder;

class ScriptFolderTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();

    void listsWhatHasTheExtension_data();
    void listsWhatHasTheExtension();
    void listsFoldersAndLinksToo();
    void logsWhatItFinds();
    void keepsItsOrder();
    void makesTheFolder();
    void listsNothingWhereThereIsNoFolder();

private:
    static QString folder()
    {
        return platform::StandardFolders::configuration() + QStringLiteral("/scripts");
    }
};

void ScriptFolderTest::init()
{
    const QString parent = platform::StandardFolders::configuration();
    QFile::remove(parent);
    QDir(parent).removeRecursively();
}

void ScriptFolderTest::listsWhatHasTheExtension_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isListed");
    const auto row = [](const QString& name, bool isListed) {
        QTest::newRow(qUtf8Printable(name)) << name << isListed;
    };
    row(QStringLiteral("a.scpt"), true);
    row(QStringLiteral("with two.dots.scpt"), true);
    row(QStringLiteral("Grüße 😀.scpt"), true);
    row(QStringLiteral("100% #1?.scpt"), true);
    row(QStringLiteral("a.SCPT"), false);
    row(QStringLiteral("a.Scpt"), false);
    row(QStringLiteral("a.scptd"), false);
    row(QStringLiteral("a.applescript"), false);
    row(QStringLiteral("a.lua"), false);
    row(QStringLiteral("a.scpt~"), false);
    row(QStringLiteral("a.scpt.bak"), false);
    row(QStringLiteral("scpt"), false);
    row(QStringLiteral(".scpt"), false);
    row(QStringLiteral(".hidden.scpt"), false);
    row(QStringLiteral("subfolder/a.scpt"), false);
}

void ScriptFolderTest::listsWhatHasTheExtension()
{
    QFETCH(QString, name);
    QFETCH(bool, isListed);

    const LogLines log;
    const QString path = folder() + QLatin1Char('/') + name;
    support::writeFile(path, "-- Lua");
    const auto scripts = scanScriptFolder();
    QCOMPARE(scripts.keys(), isListed ? QStringList{ name } : QStringList());
    if (isListed) {
        QCOMPARE(scripts.first().toLocalFile(), path);
    }
    QCOMPARE(LogLines::all().size(), isListed ? 1 : 0);
}

void ScriptFolderTest::listsFoldersAndLinksToo()
{
    const LogLines log;
    QVERIFY(QDir().mkpath(folder() + QStringLiteral("/folder.scpt")));
    QVERIFY(
        QFile::link(QStringLiteral("/nowhere"), folder() + QStringLiteral("/broken link.scpt")));
    QCOMPARE(scanScriptFolder().keys(),
        QStringList({ QStringLiteral("broken link.scpt"), QStringLiteral("folder.scpt") }));
}

void ScriptFolderTest::logsWhatItFinds()
{
    const LogLines log;
    support::writeFile(folder() + QStringLiteral("/my script.scpt"), {});
    scanScriptFolder();
    QCOMPARE(LogLines::all(),
        QStringList{ QStringLiteral("Found a script! file://") + folder()
            + QStringLiteral("/my%20script.scpt") });
}

void ScriptFolderTest::keepsItsOrder()
{
    const LogLines log;
    for (int number = 0; number < 30; ++number) {
        support::writeFile(folder() + QStringLiteral("/%1.scpt").arg(number * 7 % 30), "-- Lua");
    }
    const auto scripts = scanScriptFolder();
    QCOMPARE(scripts.size(), 30);
    QCOMPARE(scanScriptFolder().keys(), scripts.keys());
    QCOMPARE(LogLines::all().size(), 60);
}

void ScriptFolderTest::makesTheFolder()
{
    QVERIFY(scanScriptFolder().isEmpty());
    QVERIFY(QDir(folder()).exists());
    QCOMPARE(vellumcap::scriptFolder(), QUrl::fromLocalFile(folder()));
    QVERIFY(scanScriptFolder().isEmpty());
}

void ScriptFolderTest::listsNothingWhereThereIsNoFolder()
{
    const LogLines log;
    support::writeFile(platform::StandardFolders::configuration(), "in the way");
    QVERIFY(vellumcap::scriptFolder().isEmpty());
    QVERIFY(scanScriptFolder().isEmpty());

    init();
    support::writeFile(folder(), "in the way, too");
    QVERIFY(scanScriptFolder().isEmpty());
    QCOMPARE(LogLines::all(), QStringList());
}

VELLUMCAP_TEST_MAIN(ScriptFolderTest)

#include "tst_scriptfolder.moc"
