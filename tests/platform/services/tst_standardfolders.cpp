#include "platform/services/StandardFolders.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace folders = platform::StandardFolders;

class StandardFoldersTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void followsTheEnvironment();
    void doesNotFollowTheApplicationsName();
    void createsTheScriptsFolderOnRequest();
    void reportsAScriptsFolderThatCannotBeCreated();
};

namespace {

QString environmentFolder(const char* variable)
{
    return qEnvironmentVariable(variable);
}

} // namespace

void StandardFoldersTest::followsTheEnvironment()
{
    QCOMPARE(folders::applicationSupport(), environmentFolder("XDG_DATA_HOME"));
    QCOMPARE(folders::caches(), environmentFolder("XDG_CACHE_HOME") + u"/vellumcap"_s);
    QCOMPARE(folders::configuration(), environmentFolder("XDG_CONFIG_HOME") + u"/vellumcap"_s);
    QVERIFY(folders::pictures().startsWith(environmentFolder("HOME")));
    QVERIFY(!QFileInfo::exists(folders::caches()));
    QVERIFY(!QFileInfo::exists(folders::configuration()));
}

void StandardFoldersTest::doesNotFollowTheApplicationsName()
{
    const QString before = folders::configuration();
    QCoreApplication::setOrganizationName(u"Somebody"_s);
    QCoreApplication::setApplicationName(u"Something"_s);
    QCOMPARE(folders::configuration(), before);
}

void StandardFoldersTest::createsTheScriptsFolderOnRequest()
{
    const QString path = folders::configuration() + u"/scripts"_s;
    QCOMPARE(folders::applicationScripts(folders::Creation::No), path);
    QVERIFY(!QFileInfo::exists(path));

    QCOMPARE(folders::applicationScripts(folders::Creation::Yes), path);
    QVERIFY(QFileInfo(path).isDir());
    const auto others = QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
    QVERIFY(!(QFileInfo(path).permissions() & others));
    QVERIFY(!(QFileInfo(folders::configuration()).permissions() & others));

    QCOMPARE(folders::applicationScripts(folders::Creation::Yes), path);
}

void StandardFoldersTest::reportsAScriptsFolderThatCannotBeCreated()
{
    QVERIFY(QDir(folders::configuration()).removeRecursively());
    QFile file(folders::configuration());
    QVERIFY(file.open(QFile::WriteOnly));
    QCOMPARE(folders::applicationScripts(folders::Creation::Yes), QString());
}

VELLUMCAP_TEST(StandardFoldersTest)

#include "tst_standardfolders.moc"
