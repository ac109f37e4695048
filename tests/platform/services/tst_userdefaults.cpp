#include "platform/services/StandardFolders.h"
#include "platform/services/UserDefaults.h"
#include "tests/support/TestMain.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <bit>
#include <limits>

using namespace Qt::StringLiterals;

using platform::Observation;
using platform::UserDefaults;

class UserDefaultsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { QFile::remove(m_path); }

    void readsUnsetKeysAsNothing();
    void keepsDoublesBitForBit_data();
    void keepsDoublesBitForBit();
    void keepsStrings_data();
    void keepsStrings();
    void readsAnythingAsANumber_data();
    void readsAnythingAsANumber();
    void notifiesObserversOfTheKey();
    void letsAnObserverEndObservations();
    void letsAnObserverWrite();
    void survivesAFileThatCannotBeWritten();
    void keepsTheStandardSettingsInThePrivateFolder();

private:
    QTemporaryDir m_folder;
    const QString m_path = m_folder.filePath(u"some/settings.ini"_s);
};

namespace {

const auto key = u"pref-some-key"_s;

} // namespace

void UserDefaultsTest::readsUnsetKeysAsNothing()
{
    const UserDefaults defaults(m_path);
    QVERIFY(!defaults.stringForKey(key));
    QCOMPARE(defaults.doubleForKey(key), 0.0);
    QCOMPARE(defaults.integerForKey(key), 0);
    QCOMPARE(defaults.boolForKey(key), false);
}

void UserDefaultsTest::keepsDoublesBitForBit_data()
{
    QTest::addColumn<double>("value");
    for (const double value : { 0.1, -0.0, 1.0 / 3.0, 1e300, std::numeric_limits<double>::min(),
             std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::infinity() }) {
        QTest::addRow("%.17g", value) << value;
    }
}

void UserDefaultsTest::keepsDoublesBitForBit()
{
    QFETCH(double, value);
    {
        UserDefaults defaults(m_path);
        defaults.setDouble(key, value);
        defaults.synchronize();
    }
    const UserDefaults read(m_path);
    QCOMPARE(std::bit_cast<quint64>(read.doubleForKey(key)), std::bit_cast<quint64>(value));
}

void UserDefaultsTest::keepsStrings_data()
{
    QTest::addColumn<QString>("value");
    QTest::newRow("plain") << u"camera 1"_s;
    QTest::newRow("empty") << QString();
    QTest::newRow("commas") << u"a, b,c"_s;
    QTest::newRow("quotes") << u"\"a\" \\ ; #b = c"_s;
    QTest::newRow("lines") << u"a\nb\tc"_s;
    QTest::newRow("at") << u"@Invalid()"_s;
    QTest::newRow("other scripts") << u"カメラ 😀"_s;
}

void UserDefaultsTest::keepsStrings()
{
    QFETCH(QString, value);
    {
        UserDefaults defaults(m_path);
        defaults.setString(key, value);
        QVERIFY(defaults.stringForKey(key));
        QCOMPARE(*defaults.stringForKey(key), value);
        defaults.synchronize();
    }
    const UserDefaults read(m_path);
    QVERIFY(read.stringForKey(key));
    QCOMPARE(*read.stringForKey(key), value);
}

void UserDefaultsTest::readsAnythingAsANumber_data()
{
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<int>("integer");
    QTest::addColumn<bool>("boolean");
    QTest::newRow("word") << QByteArray("abc") << 0 << false;
    QTest::newRow("true") << QByteArray("true") << 1 << true;
    QTest::newRow("false") << QByteArray("false") << 0 << false;
    QTest::newRow("number") << QByteArray("12") << 12 << true;
    QTest::newRow("fraction") << QByteArray("-3.9") << -3 << true;
    QTest::newRow("too large") << QByteArray("1e30") << std::numeric_limits<int>::max() << true;
    QTest::newRow("no number") << QByteArray("nan") << 0 << false;
    QTest::newRow("list") << QByteArray("1, 2") << 0 << false;
}

void UserDefaultsTest::readsAnythingAsANumber()
{
    QFETCH(QByteArray, written);
    QFETCH(int, integer);
    QFETCH(bool, boolean);

    QTemporaryDir folder; // another path for each row: QSettings shares the values of a path
    const QString path = folder.filePath(u"typed.ini"_s);
    QFile file(path);
    QVERIFY(file.open(QFile::WriteOnly));
    file.write("[General]\npref-some-key=" + written + "\n");
    file.close();

    const UserDefaults defaults(path);
    QCOMPARE(defaults.integerForKey(key), integer);
    QCOMPARE(defaults.boolForKey(key), boolean);
    QVERIFY(defaults.stringForKey(key));
    QCOMPARE(defaults.stringForKey(key)->toUtf8(), written);
}

void UserDefaultsTest::notifiesObserversOfTheKey()
{
    UserDefaults defaults(m_path);
    QList<double> seen;
    auto observation = defaults.observe(key, [&] { seen.append(defaults.doubleForKey(key)); });
    defaults.setDouble(key, 1.5);
    defaults.setDouble(key, 1.5);
    defaults.setInteger(u"another-key"_s, 3);
    defaults.removeObject(key);
    QCOMPARE(seen, QList<double>({ 1.5, 1.5, 0.0 }));
    QVERIFY(!defaults.stringForKey(key));

    observation.end();
    defaults.setDouble(key, 2.5);
    QCOMPARE(seen.size(), 3);
}

void UserDefaultsTest::letsAnObserverEndObservations()
{
    UserDefaults defaults(m_path);
    QStringList seen;
    Observation first;
    Observation second;
    Observation added;
    first = defaults.observe(key, [&] {
        seen.append(u"first"_s);
        added = defaults.observe(key, [&] { seen.append(u"added"_s); });
        second.end();
        first.end();
    });
    second = defaults.observe(key, [&] { seen.append(u"second"_s); });
    defaults.setBool(key, true);
    QCOMPARE(seen, QStringList{ u"first"_s });
    defaults.setBool(key, false);
    QCOMPARE(seen, QStringList({ u"first"_s, u"added"_s }));
}

void UserDefaultsTest::letsAnObserverWrite()
{
    UserDefaults defaults(m_path);
    const auto limit = defaults.observe(key, [&] {
        if (defaults.integerForKey(key) > 10) {
            defaults.setInteger(key, 10);
        }
    });
    defaults.setInteger(key, 50);
    QCOMPARE(defaults.integerForKey(key), 10);
}

void UserDefaultsTest::survivesAFileThatCannotBeWritten()
{
    // The path of the folder is a device: not even root could create a file there.
    UserDefaults defaults(u"/dev/null/settings.ini"_s);
    defaults.setInteger(key, 4);
    defaults.synchronize();
    QCOMPARE(defaults.integerForKey(key), 4);
}

void UserDefaultsTest::keepsTheStandardSettingsInThePrivateFolder()
{
    auto& defaults = UserDefaults::standard();
    defaults.setBool(key, true);
    const QFileInfo file(platform::StandardFolders::configuration() + u"/vellumcap.ini"_s);
    QTRY_VERIFY(QFileInfo::exists(file.filePath())); // by the event loop, without synchronize()
    QCOMPARE(QFileInfo(file.absolutePath()).permissions()
            & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
        QFile::Permissions());
}

VELLUMCAP_TEST(UserDefaultsTest)

#include "tst_userdefaults.moc"
