#include "platform/services/StandardFolders.h"
#include "tests/support/LogLines.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"
#include "watch/ScriptFolder.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

using support::LogLines;
using vellumcap::scanScriptFolder;

class ScriptFolderTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();

    void listsFilesByExtension_data();
    void listsFilesByExtension();
    void listsFoldersAndLinksToo();
    void logsWhatItFinds();
    void keepsItsOrder();
    void createsTheFolder();
    void listsNothingWithoutAFolder();

private:
    static QString folder() { return platform::StandardFolders::configuration() + u"/scripts"_s; }
};

void ScriptFolderTest::init()
{
    const QString parent = platform::StandardFolders::configuration();
    QFile::remove(parent);
    QDir(parent).removeRecursively();
}

void ScriptFolderTest::listsFilesByExtension_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isListed");
    const auto row = [](const QString& name, bool isListed) {
        QTest::newRow(qUtf8Printable(name)) << name << isListed;
    };
    row(u"a.scpt"_s, true);
    row(u"with two.dots.scpt"_s, true);
    row(u"Grüße 😀.scpt"_s, true);
    row(u"100% #1?.scpt"_s, true);
    row(u"a.SCPT"_s, false);
    row(u"a.Scpt"_s, false);
    row(u"a.scptd"_s, false);
    row(u"a.applescript"_s, false);
    row(u"a.lua"_s, false);
    row(u"a.scpt~"_s, false);
    row(u"a.scpt.bak"_s, false);
    row(u"scpt"_s, false);
    row(u".scpt"_s, false);
    row(u".hidden.scpt"_s, false);
    row(u"subfolder/a.scpt"_s, false);
}

void ScriptFolderTest::listsFilesByExtension()
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
    QVERIFY(QDir().mkpath(folder() + u"/folder.scpt"_s));
    QVERIFY(QFile::link(u"/nowhere"_s, folder() + u"/broken link.scpt"_s));
    QCOMPARE(scanScriptFolder().keys(), QStringList({ u"broken link.scpt"_s, u"folder.scpt"_s }));
}

void ScriptFolderTest::logsWhatItFinds()
{
    const LogLines log;
    support::writeFile(folder() + u"/my script.scpt"_s, {});
    scanScriptFolder();
    QCOMPARE(LogLines::all(),
        QStringList{ u"Found a script! file://"_s + folder() + u"/my%20script.scpt"_s });
}

void ScriptFolderTest::keepsItsOrder()
{
    const LogLines log;
    for (int number = 0; number < 30; ++number) {
        support::writeFile(folder() + u"/%1.scpt"_s.arg(number * 7 % 30), "-- Lua");
    }
    const auto scripts = scanScriptFolder();
    QCOMPARE(scripts.size(), 30);
    QCOMPARE(scanScriptFolder().keys(), scripts.keys());
    QCOMPARE(LogLines::all().size(), 60);
}

void ScriptFolderTest::createsTheFolder()
{
    QVERIFY(scanScriptFolder().isEmpty());
    QVERIFY(QDir(folder()).exists());
    QCOMPARE(vellumcap::scriptFolder(), QUrl::fromLocalFile(folder()));
    QVERIFY(scanScriptFolder().isEmpty());
}

void ScriptFolderTest::listsNothingWithoutAFolder()
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

VELLUMCAP_TEST(ScriptFolderTest)

#include "tst_scriptfolder.moc"
