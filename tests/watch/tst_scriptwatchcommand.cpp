#include "journal/JournalWindow.h"
#include "platform/camera/CaptureDevice.h"
#include "platform/services/UserDefaults.h"
#include "platform/ui/Sheet.h"
#include "tests/support/Program.h"
#include "tests/support/ScanningScene.h"
#include "tests/support/TestMain.h"
#include "watch/ScriptWatchCommand.h"
#include "watch/WatchWindow.h"

#include <limits>

using namespace Qt::StringLiterals;

using support::Program;
using vellumcap::ScriptWatchCommand;

namespace {

const auto openInBackground = u"OpenInBackground"_s;
const auto closeOnFirstScan = u"CloseOnFirstScan"_s;
const auto saveCapture = u"SaveCapture"_s;
const auto scriptName = u"ScriptName"_s;

const auto backgroundKey = u"watch-openURLInBackground"_s;
const auto saveKey = u"watch-saveCapture"_s;
const auto closeKey = u"watch-closeOnFirstScan"_s;
const auto runKey = u"watch-runAppleScript"_s;

platform::UserDefaults& defaults()
{
    return platform::UserDefaults::standard();
}

void setAll(bool value)
{
    for (const QString& key : { backgroundKey, saveKey, closeKey, runKey }) {
        defaults().setBool(key, value);
    }
}

QWidget* sheetOf(Program& program)
{
    return platform::attachedSheet(program.journal().window());
}

} // namespace

class ScriptWatchCommandTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void convertsValuesToBooleans_data();
    void convertsValuesToBooleans();
    void writesEachOption_data();
    void writesEachOption();
    void writesFalseForMissingOptions();
    void writesInOrder();
    void opensAWatchWindowLater();
    void preselectsTheScript_data();
    void preselectsTheScript();
    void opensNothingOverASheet();
    void opensNothingWithoutACamera();
    void waitsForTheLaunch();
    void isDroppedWhenTheProgramEnds();

private:
    std::unique_ptr<support::CameraRig> m_rig;
};

void ScriptWatchCommandTest::initTestCase()
{
    m_rig = std::make_unique<support::CameraRig>();
}

void ScriptWatchCommandTest::cleanup()
{
    support::CameraRig::awaitNoCameras();
}

void ScriptWatchCommandTest::convertsValuesToBooleans_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("isTrue");
    const auto row = [](const char* name, const QVariant& value, bool isTrue) {
        QTest::newRow(name) << value << isTrue;
    };
    row("true", true, true);
    row("false", false, false);
    row("1", 1, true);
    row("0", 0, false);
    row("-1", -1, true);
    row("byte", QVariant::fromValue(uchar{ 2 }), true);
    row("256", QVariant::fromValue(qlonglong{ 256 }), true);
    row("greatest", std::numeric_limits<qulonglong>::max(), true);
    row("0.5", 0.5, true);
    row("-0.0", -0.0, false);
    row("no number", std::numeric_limits<double>::quiet_NaN(), false);
    row("infinity", std::numeric_limits<double>::infinity(), true);
    for (const char* text : { "YES", "yes", "Y", "true", "TRUE", "t", "yellow", "1", "9 lives",
             "007", "+1", "-3", " \t\nyes", "  -0004" }) {
        row(text, QString::fromUtf8(text), true);
    }
    for (const char* text : { "", " ", "NO", "no", "false", "off", "on", "0", "000", "0x1", "-",
             "+", "-0", ".5", "--1", "- 1", "ja", "\u0661" }) {
        row(qPrintable(u"not %1"_s.arg(QString::fromUtf8(text))), QString::fromUtf8(text), false);
    }
    row("null character", QChar(0) + u"true"_s, false);
    row("huge text", QString(10'000'000, u' ') + QLatin1Char('1'), true);
    row("nothing", QVariant(), false);
}

void ScriptWatchCommandTest::convertsValuesToBooleans()
{
    QFETCH(QVariant, value);
    QFETCH(bool, isTrue);

    const Program program;
    setAll(!isTrue);
    ScriptWatchCommand({ { saveCapture, value } }).performDefaultImplementation();
    QCOMPARE(defaults().boolForKey(saveKey), isTrue);
}

void ScriptWatchCommandTest::writesEachOption_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("key");
    QTest::newRow("background") << openInBackground << backgroundKey;
    QTest::newRow("save") << saveCapture << saveKey;
    QTest::newRow("close") << closeOnFirstScan << closeKey;
}

void ScriptWatchCommandTest::writesEachOption()
{
    QFETCH(QString, argument);
    QFETCH(QString, key);

    const Program program;
    setAll(false);
    ScriptWatchCommand({ { argument, true } }).performDefaultImplementation();
    for (const QString& each : { backgroundKey, saveKey, closeKey, runKey }) {
        QCOMPARE(defaults().boolForKey(each), each == key);
    }
}

void ScriptWatchCommandTest::writesFalseForMissingOptions()
{
    const Program program;
    setAll(true);
    ScriptWatchCommand({ { u"watch-runAppleScript"_s, false }, { u"RunAppleScript"_s, false } })
        .performDefaultImplementation();
    for (const QString& key : { backgroundKey, saveKey, closeKey }) {
        QCOMPARE(defaults().stringForKey(key), std::optional(u"false"_s));
    }
    QVERIFY(defaults().boolForKey(runKey)); // never written
}

void ScriptWatchCommandTest::writesInOrder()
{
    const Program program;
    QStringList written;
    std::vector<platform::Observation> observations;
    for (const QString& key : { closeKey, saveKey, backgroundKey, runKey }) {
        observations.push_back(defaults().observe(key, [&written, key] { written.append(key); }));
    }
    ScriptWatchCommand({}).performDefaultImplementation();
    QCOMPARE(written, QStringList({ backgroundKey, saveKey, closeKey }));
}

void ScriptWatchCommandTest::opensAWatchWindowLater()
{
    const auto camera = support::plugIn(*m_rig, support::cameraNamed(u"a"_s));
    Program program;
    ScriptWatchCommand({}).performDefaultImplementation();
    QVERIFY(sheetOf(program) == nullptr);
    QTRY_VERIFY(sheetOf(program) != nullptr);
    QVERIFY(program.journal().watchWindow() != nullptr);
    QCOMPARE(sheetOf(program), program.journal().watchWindow()->window());
    program.journal().watchWindow()->cancelCapture();
}

void ScriptWatchCommandTest::preselectsTheScript_data()
{
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<std::optional<QString>>("name");
    const auto row = [](const char* name, const QVariant& value, const char* expected) {
        QTest::newRow(name) << QVariantMap{ { scriptName, value } }
                            << (expected != nullptr ? std::optional(QString::fromUtf8(expected))
                                                    : std::nullopt);
    };
    QTest::newRow("left out") << QVariantMap() << std::optional<QString>();
    row("empty", u""_s, nullptr);
    row("null", QString(), nullptr);
    row("name", u"Grüße 1.scpt"_s, "Grüße 1.scpt");
    row("no extension", u"Grüße"_s, "Grüße");
    row("longest", QString(255, u'a'), QByteArray(255, 'a').constData());
    row("longer than a name can be", QString(256, u'a'), nullptr);
    row("number", 7, nullptr);
}

void ScriptWatchCommandTest::preselectsTheScript()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(std::optional<QString>, name);

    const auto camera = support::plugIn(*m_rig, support::cameraNamed(u"a"_s));
    Program program;
    ScriptWatchCommand(arguments).performDefaultImplementation();
    QTRY_VERIFY(sheetOf(program) != nullptr);
    QCOMPARE(program.journal().watchWindow()->scriptedScriptName(), name);
    program.journal().watchWindow()->cancelCapture();
}

void ScriptWatchCommandTest::opensNothingOverASheet()
{
    const auto camera = support::plugIn(*m_rig, support::cameraNamed(u"a"_s));
    Program program;
    setAll(false);
    program.journal().importImage();
    QWidget* import = sheetOf(program);
    QVERIFY(import != nullptr);
    ScriptWatchCommand({ { saveCapture, true } }).performDefaultImplementation();
    QCoreApplication::sendPostedEvents();
    QCOMPARE(sheetOf(program), import);
    QVERIFY(program.journal().watchWindow() == nullptr);
    QVERIFY(defaults().boolForKey(saveKey));
}

void ScriptWatchCommandTest::opensNothingWithoutACamera()
{
    Program program;
    setAll(false);
    ScriptWatchCommand({ { closeOnFirstScan, true } }).performDefaultImplementation();
    QCoreApplication::sendPostedEvents();
    QVERIFY(sheetOf(program) == nullptr);
    QVERIFY(program.journal().watchWindow() == nullptr);
    QVERIFY(defaults().boolForKey(closeKey));
}

void ScriptWatchCommandTest::waitsForTheLaunch()
{
    const auto camera = support::plugIn(*m_rig, support::cameraNamed(u"a"_s));
    // As when the bus has started the program for the command.
    Program program(support::Start::NotLaunched);
    ScriptWatchCommand({}).performDefaultImplementation();
    program.delegate().applicationDidFinishLaunching();
    QTRY_VERIFY(sheetOf(program) != nullptr);
    program.journal().watchWindow()->cancelCapture();

    Program another(support::Start::NotLaunched);
    ScriptWatchCommand({ { saveCapture, true } }).performDefaultImplementation();
    QCoreApplication::sendPostedEvents();
    QVERIFY(another.delegate().journalWindow() == nullptr);
    QVERIFY(defaults().boolForKey(saveKey));
}

void ScriptWatchCommandTest::isDroppedWhenTheProgramEnds()
{
    platform::Application::shared().setDelegate(nullptr);
    setAll(false);
    ScriptWatchCommand({ { saveCapture, true } }).performDefaultImplementation();
    QCoreApplication::sendPostedEvents();
    QVERIFY(defaults().boolForKey(saveKey));
}

VELLUMCAP_TEST(ScriptWatchCommandTest)

#include "tst_scriptwatchcommand.moc"
