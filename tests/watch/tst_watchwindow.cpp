#include "platform/camera/CaptureConnection.h"
#include "platform/camera/CaptureDevice.h"
#include "platform/camera/CaptureSession.h"
#include "platform/camera/CaptureVideoPreviewLayer.h"
#include "platform/graphics/ImageFilter.h"
#include "platform/services/Dispatch.h"
#include "platform/services/Log.h"
#include "platform/services/StandardFolders.h"
#include "platform/services/UserDefaults.h"
#include "platform/ui/Sheet.h"
#include "tests/support/Browser.h"
#include "tests/support/Controls.h"
#include "tests/support/Examinations.h"
#include "tests/support/LogLines.h"
#include "tests/support/Pictures.h"
#include "tests/support/Program.h"
#include "tests/support/ScanningScene.h"
#include "tests/support/TestMain.h"
#include "watch/WatchWindow.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QDir>
#include <QLayout>
#include <QPushButton>
#include <QToolButton>

#include <chrono>
#include <functional>

using namespace Qt::StringLiterals;

using platform::CaptureDevice;
using platform::UserDefaults;
using support::CameraOnStage;
using support::CameraRig;
using support::cameraView;
using support::click;
using support::control;
using support::LogLines;
using support::paper;
using support::Program;
using support::shownText;
using support::takeAway;
using vellumcap::WatchWindow;

namespace {

using namespace std::chrono_literals;

const QString openInBackground = u"watch-openURLInBackground"_s;
const QString saveCapture = u"watch-saveCapture"_s;
const QString closeOnFirstScan = u"watch-closeOnFirstScan"_s;
const QString runAppleScript = u"watch-runAppleScript"_s;

WatchWindow& openWatch(Program& program)
{
    program.journal().watch();
    return *program.journal().watchWindow();
}

QComboBox* scriptMenu(WatchWindow& window)
{
    return control<QComboBox>(window, "appleScriptMenu");
}

QToolButton* triangleOf(WatchWindow& window)
{
    return control<QToolButton>(window, "disclosureTriangle");
}

QWidget* optionsPanel(WatchWindow& window)
{
    return control<QWidget>(window, "disclosureView");
}

bool isSheetAttached(Program& program)
{
    return platform::attachedSheet(program.journal().window()) != nullptr;
}

/// The texts in the journal, oldest first, without repetitions: a code that stays in view is stored
/// again and again.
QStringList keptTexts(Program& program)
{
    QStringList texts;
    for (const auto& capture : program.journal().captures()) {
        if (texts.isEmpty() || texts.first() != capture->captureValue()) {
            texts.prepend(capture->captureValue());
        }
    }
    return texts;
}

QDir scripts()
{
    namespace folders = platform::StandardFolders;
    return QDir(folders::applicationScripts(folders::Creation::Yes));
}

/// Writes a script that appends the text that it is called with, and a line end, to a file.
QString writeRecorder(const QString& name)
{
    QString told = scripts().filePath(u"told.txt"_s);
    support::writeFile(scripts().filePath(name),
        u"function scanned_code(text)\n"
        "  local file = assert(io.open('%1', 'ab'))\n"
        "  file:write(text, '\\n')\n"
        "  file:close()\n"
        "end\n"_s.arg(told)
            .toUtf8());
    return told;
}

QByteArray content(const QString& path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList items(const QComboBox& menu)
{
    QStringList texts;
    for (int i = 0; i < menu.count(); ++i) {
        if (!menu.itemText(i).isEmpty()) {
            texts.append(u"%1 %2"_s.arg(menu.itemData(i).toInt()).arg(menu.itemText(i)));
        }
    }
    return texts;
}

/// In the window's coordinates, but with the origin at its bottom left.
QRect frameOf(const QWidget& view)
{
    QRect frame(view.mapTo(view.window(), QPoint()), view.size());
    frame.moveTop(view.window()->height() - frame.bottom() - 1);
    return frame;
}

} // namespace

Q_DECLARE_METATYPE(std::function<void(WatchWindow&)>)

class WatchWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    // These two run first: the others leave resets behind.
    void handlesACodeInViewAgainAfterFiveSeconds();
    void resetsOutliveTheirWindow();
    void watchesAtFirst();
    void logsTheFrameRates();
    void showsEveryNewCode();
    void opensLinks_data();
    void opensLinks();
    void keepsCodesWhenAsked();
    void reactsToOptionsFromTheNextCodeOn();
    void closesOnTheFirstCode();
    void savesClosesAndThenRunsTheScript();
    void passesTheTextToTheScript_data();
    void passesTheTextToTheScript();
    void runsNothingWithoutAScript();
    void listsScripts();
    void preselectsAScript_data();
    void preselectsAScript();
    void logsTheChosenScript();
    void opensTheScriptFolder();
    void choosesNoScriptWithoutAFolder();
    void editsTheOptions();
    void opensAndClosesTheOptions();
    void followsPreferences();
    void onlyCloseIsEnabled();
    void endsInManyWays_data();
    void endsInManyWays();
    void survivesWithoutACamera();

private:
    CameraOnStage plugIn(const QImage& picture);

    std::unique_ptr<CameraRig> m_rig;
    std::unique_ptr<support::Browser> m_browser;
};

void WatchWindowTest::initTestCase()
{
    m_rig = std::make_unique<CameraRig>();
    m_browser = std::make_unique<support::Browser>();
}

void WatchWindowTest::init()
{
    for (const QString& key : { openInBackground, saveCapture, closeOnFirstScan, runAppleScript,
             u"pref-camera-contrast"_s, u"pref-mirror-video"_s }) {
        UserDefaults::standard().removeObject(key);
    }
    QDir(scripts()).removeRecursively();
    m_browser->forget();
}

void WatchWindowTest::cleanup()
{
    QTRY_VERIFY(CaptureDevice::devicesWithMediaType(platform::MediaType::Video).isEmpty());
}

CameraOnStage WatchWindowTest::plugIn(const QImage& picture)
{
    return support::plugIn(*m_rig, support::cameraNamed(u"a"_s), picture);
}

void WatchWindowTest::watchesAtFirst()
{
    const auto camera = plugIn(paper());
    Program program;
    auto& window = openWatch(program);

    QCOMPARE(window.window()->windowTitle(), u"Capture"_s);
    QVERIFY(control<QPushButton>(window, "buttonCancel")->isEnabled());
    QVERIFY(window.mCaptureSession()->isRunning());
    QVERIFY(!window.captureData());
    QVERIFY(!triangleOf(window)->isChecked());
    QVERIFY(!optionsPanel(window)->isVisible());
    QTRY_VERIFY(support::showsLivePicture(window));
    support::waitForExaminations(); // and the scan of the folder, which is empty
    QVERIFY(window.appleScripts().isEmpty());
    QCOMPARE(items(*scriptMenu(window)), QStringList(u"0 No script"_s));
}

void WatchWindowTest::logsTheFrameRates()
{
    const auto camera = plugIn(paper());
    Program program;
    const LogLines log;

    openWatch(program);

    QCOMPARE(LogLines::all().filter(u"30.00)"_s).size(), 1);
}

void WatchWindowTest::showsEveryNewCode()
{
    const auto camera = plugIn(paper(u"one"_s));
    Program program;
    auto& window = openWatch(program);
    QTRY_COMPARE(shownText(window), u"one"_s);

    QVERIFY(takeAway(*camera, window));
    camera->show(paper(u"two"_s));
    QTRY_COMPARE(shownText(window), u"two"_s);
    QVERIFY(takeAway(*camera, window));
    camera->show(paper(u"one"_s));
    QTRY_COMPARE(shownText(window), u"one"_s);

    QVERIFY(window.mCaptureSession()->isRunning());
    QVERIFY(control<QPushButton>(window, "buttonCancel")->isEnabled());
    QCOMPARE(program.journal().captures().size(), 0);
}

void WatchWindowTest::opensLinks_data()
{
    QTest::addColumn<bool>("allOptions");

    QTest::newRow("every option off") << false;
    QTest::newRow("in the background, and kept") << true;
}

void WatchWindowTest::opensLinks()
{
    QFETCH(bool, allOptions);
    UserDefaults::standard().setBool(openInBackground, allOptions);
    UserDefaults::standard().setBool(saveCapture, allOptions);
    const auto camera = plugIn(paper());
    Program program;
    auto& window = openWatch(program);
    const QString first = u"https://Example.org/%7Ea?b=c#d"_s;
    const QString last = u"http://example.com/"_s;

    for (const QString& text :
        { first, u"https://example.org/\u00e4"_s, u"file://localhost/"_s, last }) {
        camera->show(paper(text));
        QTRY_COMPARE(shownText(window), text);
        QVERIFY(takeAway(*camera, window));
    }

    QTRY_VERIFY(m_browser->opened().contains(last));
    QStringList opened = m_browser->opened();
    opened.removeDuplicates();
    opened.sort(); // handlers run side by side
    QCOMPARE(opened, QStringList({ last, first }));
    QCOMPARE(keptTexts(program).size(), allOptions ? 4 : 0);
}

void WatchWindowTest::keepsCodesWhenAsked()
{
    UserDefaults::standard().setBool(saveCapture, true);
    const auto camera = plugIn(paper());
    Program program;
    auto& window = openWatch(program);
    QStringList expected;

    for (const char* text : { "A", "B", "A" }) {
        expected.append(QString::fromLatin1(text));
        camera->show(paper(expected.last()));
        QTRY_COMPARE(keptTexts(program), expected);
        QVERIFY(takeAway(*camera, window));
    }

    QCOMPARE(keptTexts(program), expected);
    QCOMPARE(Program::pictures().size(), program.journal().captures().size());
    QVERIFY(isSheetAttached(program));
    QCOMPARE(shownText(window), u"A"_s);
}

void WatchWindowTest::reactsToOptionsFromTheNextCodeOn()
{
    const auto camera = plugIn(paper(u"A"_s));
    Program program;
    auto& window = openWatch(program);
    QTRY_COMPARE(shownText(window), u"A"_s);
    QVERIFY(takeAway(*camera, window));
    QCOMPARE(program.journal().captures().size(), 0);

    UserDefaults::standard().setBool(saveCapture, true);
    camera->show(paper(u"B"_s));

    QTRY_COMPARE(keptTexts(program), QStringList(u"B"_s));
}

void WatchWindowTest::closesOnTheFirstCode()
{
    UserDefaults::standard().setBool(closeOnFirstScan, true);
    const auto camera = plugIn(paper(u"enough"_s));
    Program program;

    auto& window = openWatch(program);

    QTRY_VERIFY(!isSheetAttached(program));
    QVERIFY(!window.window()->isVisible());
    QVERIFY(!window.mCaptureSession()->isRunning());
    QCOMPARE(shownText(window), u"enough"_s);
    QCOMPARE(program.journal().captures().size(), 0);
    QTRY_COMPARE(camera->links(), 0);
}

void WatchWindowTest::savesClosesAndThenRunsTheScript()
{
    const QString told = writeRecorder(u"record.scpt"_s);
    for (const QString& key : { saveCapture, closeOnFirstScan, runAppleScript }) {
        UserDefaults::standard().setBool(key, true);
    }
    const auto camera = plugIn(paper());
    Program program;
    program.journal().watch(QVariantMap{ { u"ScriptName"_s, u"record.scpt"_s } });
    auto& window = *program.journal().watchWindow();
    QTRY_COMPARE(scriptMenu(window)->currentText(), u"record.scpt"_s);

    camera->show(paper(u"all of it"_s));

    QTRY_COMPARE(content(told), QByteArray("all of it\n"));
    QTRY_VERIFY(!isSheetAttached(program)); // after the window, in a later turn of the event loop
    QCOMPARE(program.journal().captures().size(), 1);
    QCOMPARE(program.journal().captures().front()->captureValue(), u"all of it"_s);
}

void WatchWindowTest::passesTheTextToTheScript_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("Unicode") << u"Gr\u00fc\u00dfe, \u4f60\u597d \U0001F600"_s;
    QTest::newRow("quotes") << u"it's \"quoted\" \\ $(touch x) `y` ; rm -rf /"_s;
    QTest::newRow("line ends") << u"first\nsecond\r\nthird"_s;
    QTest::newRow("control characters") << u"a\u0001b\tc\u001d d"_s;
}

void WatchWindowTest::passesTheTextToTheScript()
{
    QFETCH(QString, text);
    const QString told = writeRecorder(u"record.scpt"_s);
    UserDefaults::standard().setBool(runAppleScript, true);
    const auto camera = plugIn(paper());
    Program program;
    program.journal().watch(QVariantMap{ { u"ScriptName"_s, u"record.scpt"_s } });
    auto& window = *program.journal().watchWindow();
    QTRY_COMPARE(scriptMenu(window)->currentText(), u"record.scpt"_s);

    camera->show(paper(text));

    QTRY_COMPARE(content(told), text.toUtf8() + '\n');
}

void WatchWindowTest::runsNothingWithoutAScript()
{
    const QString told = writeRecorder(u"record.scpt"_s);
    UserDefaults::standard().setBool(runAppleScript, true);
    UserDefaults::standard().setBool(saveCapture, true);
    const auto camera = plugIn(paper());
    Program program;
    auto& window = openWatch(program);
    QTRY_COMPARE(window.appleScripts().size(), 1);
    QCOMPARE(scriptMenu(window)->currentData().toInt(), 0);
    const LogLines log;

    camera->show(paper(u"not for a script"_s));
    QTRY_COMPARE(program.journal().captures().size(), 1);
    QVERIFY(takeAway(*camera, window));

    scriptMenu(window)->setCurrentText(u"record.scpt"_s);
    camera->show(paper(u"for the script"_s));
    QTRY_COMPARE(content(told), QByteArray("for the script\n"));

    QVERIFY(LogLines::all().filter(u"error"_s).isEmpty());
}

/// Shows A at 0 s and B from 2 s on: the reset of A clears B at 5 s, the reset of B at 7 s. Delayed
/// jobs of the main queue run in the order of their times, however late.
void WatchWindowTest::handlesACodeInViewAgainAfterFiveSeconds()
{
    const QString reset = u"Reset capture data"_s;
    const QString notBefore = u"A has been shown for 5 s"_s;
    const QString notAfter = u"A has been handled for 5.5 s"_s;
    const auto guard = std::make_shared<char>();
    const auto logAfter = [&guard](std::chrono::milliseconds delay, const QString& line) {
        platform::dispatchMainAfter(delay, guard, [line] { platform::log(line); });
    };
    UserDefaults::standard().setBool(saveCapture, true);
    const auto camera = plugIn(paper());
    Program program;
    auto& window = openWatch(program);
    const LogLines log;
    const auto handled = [&program] { return program.journal().captures().size(); };
    const auto resets = [&reset] { return LogLines::all().count(reset); };

    logAfter(5s, notBefore);
    camera->show(paper(u"A"_s));
    QTRY_COMPARE(handled(), 1);
    logAfter(5500ms, notAfter);
    const QDeadlineTimer untilB(2s);
    QVERIFY(takeAway(*camera, window));
    QTRY_VERIFY(untilB.hasExpired());
    camera->show(paper(u"B"_s));

    QTRY_VERIFY_WITH_TIMEOUT(handled() >= 4, 3 * support::patience);
    QVERIFY(resets() >= handled() - 2); // one before each further handling of B
    QCOMPARE(keptTexts(program), QStringList({ u"A"_s, u"B"_s }));

    QVERIFY(takeAway(*camera, window));
    QTRY_COMPARE(resets(), handled());
    QStringList lines = LogLines::all();
    lines.removeIf([&](const QString& line) {
        return line != reset && line != notBefore && line != notAfter;
    });
    QCOMPARE(lines.mid(0, 4), QStringList({ notBefore, reset, notAfter, reset }));
    // The text stays visible after its reset.
    QCOMPARE(window.captureData(), QString());
    QVERIFY(window.captureData().has_value());
    QCOMPARE(shownText(window), u"B"_s);
}

void WatchWindowTest::resetsOutliveTheirWindow()
{
    UserDefaults::standard().setBool(closeOnFirstScan, true);
    const auto camera = plugIn(paper(u"enough"_s));
    Program program;
    openWatch(program);
    const LogLines log;
    QTRY_VERIFY(!isSheetAttached(program));
    camera->show(paper());

    openWatch(program); // replaces the first window

    QTRY_COMPARE(LogLines::all().count(u"Reset capture data"_s), 1);
}

void WatchWindowTest::listsScripts()
{
    for (const char* name :
        { "b.scpt", "a.scpt", "c.SCPT", "d.applescript", ".hidden.scpt", "e.scptd" }) {
        support::writeFile(scripts().filePath(QString::fromLatin1(name)), "return 1");
    }
    const auto camera = plugIn(paper());
    Program program;

    auto& window = openWatch(program);

    QCOMPARE(items(*scriptMenu(window)), QStringList(u"0 No script"_s));
    QTRY_COMPARE(window.appleScripts().size(), 2);
    QCOMPARE(items(*scriptMenu(window)).mid(1), QStringList({ u"100 a.scpt"_s, u"101 b.scpt"_s }));
    QCOMPARE(scriptMenu(window)->currentIndex(), 0);
}

void WatchWindowTest::preselectsAScript_data()
{
    QTest::addColumn<QVariant>("asked");
    QTest::addColumn<QString>("selected");

    const QString none = u"No script"_s;
    QTest::newRow("by its file name") << QVariant(u"b.scpt"_s) << u"b.scpt"_s;
    QTest::newRow("without the ending") << QVariant(u"b"_s) << none;
    QTest::newRow("in other case") << QVariant(u"B.scpt"_s) << none;
    QTest::newRow("empty") << QVariant(QString()) << none;
    QTest::newRow("no text") << QVariant(7) << none;
    QTest::newRow("the text of the first item") << QVariant(u"No script"_s) << none;
}

void WatchWindowTest::preselectsAScript()
{
    QFETCH(QVariant, asked);
    QFETCH(QString, selected);
    for (const char* name : { "a.scpt", "b.scpt" }) {
        support::writeFile(scripts().filePath(QString::fromLatin1(name)), "return 1");
    }
    const auto camera = plugIn(paper());
    Program program;

    program.journal().watch(QVariantMap{ { u"ScriptName"_s, asked } });

    auto& window = *program.journal().watchWindow();
    QTRY_COMPARE(window.appleScripts().size(), 2);
    QCOMPARE(scriptMenu(window)->currentText(), selected);
}

void WatchWindowTest::logsTheChosenScript()
{
    support::writeFile(scripts().filePath(u"a.scpt"_s), "return 1");
    const auto camera = plugIn(paper());
    Program program;
    auto& window = openWatch(program);
    QTRY_COMPARE(window.appleScripts().size(), 1);
    triangleOf(window)->click();
    const LogLines log;

    scriptMenu(window)->setFocus();
    QTest::keyClick(scriptMenu(window), Qt::Key_End);

    QCOMPARE(scriptMenu(window)->currentText(), u"a.scpt"_s);
    QVERIFY(LogLines::all().contains(u"a.scpt"_s));
}

void WatchWindowTest::opensTheScriptFolder()
{
    support::writeFile(scripts().filePath(u"a.scpt"_s), "return 1");
    const auto camera = plugIn(paper());
    Program program;
    auto& window = openWatch(program);
    QTRY_COMPARE(window.appleScripts().size(), 1);
    scriptMenu(window)->setCurrentText(u"a.scpt"_s);
    QDir folder(scripts());
    folder.removeRecursively();

    control<QPushButton>(window, "openScripts")->click();

    QTRY_COMPARE(m_browser->opened(), QStringList(folder.path()));
    QVERIFY(QDir(folder.path()).exists());
    QCOMPARE(scriptMenu(window)->currentData().toInt(), 0);
}

void WatchWindowTest::choosesNoScriptWithoutAFolder()
{
    support::writeFile(scripts().filePath(u"a.scpt"_s), "return 1");
    const auto camera = plugIn(paper());
    Program program;
    auto& window = openWatch(program);
    QTRY_COMPARE(window.appleScripts().size(), 1);
    scriptMenu(window)->setCurrentText(u"a.scpt"_s);
    const QString folder = scripts().path();
    QVERIFY(QDir(folder).removeRecursively());
    support::writeFile(folder, "in the way");

    control<QPushButton>(window, "openScripts")->click();

    QCOMPARE(scriptMenu(window)->currentData().toInt(), 0);
    QVERIFY(m_browser->opened().isEmpty());
    QVERIFY(QFile::remove(folder));
}

void WatchWindowTest::editsTheOptions()
{
    const auto camera = plugIn(paper());
    Program program;
    UserDefaults::standard().setBool(closeOnFirstScan, true);
    auto& window = openWatch(program);
    triangleOf(window)->click();
    const QList<std::pair<const char*, QString>> options{
        { "openInBackground", openInBackground },
        { "saveCapture", saveCapture },
        { "closeOnFirstScan", closeOnFirstScan },
        { "runScript", runAppleScript },
    };
    for (const auto& [name, key] : options) {
        auto* box = control<QCheckBox>(window, name);
        const bool before = key == closeOnFirstScan;
        QCOMPARE(box->isChecked(), before);
        box->click();
        QCOMPARE(UserDefaults::standard().boolForKey(key), !before);
        // The box also follows changes by another program's command.
        UserDefaults::standard().setBool(key, before);
        QCOMPARE(box->isChecked(), before);
    }
}

void WatchWindowTest::opensAndClosesTheOptions()
{
    const auto camera = plugIn(paper());
    Program program;
    auto& window = openWatch(program);
    QVERIFY(QTest::qWaitForWindowExposed(window.window(), support::patience));
    const QRect sheet = window.window()->geometry();
    const QRect picture = frameOf(cameraView(window));
    const QRect triangle = frameOf(*triangleOf(window));
    const int height = optionsPanel(window)->height();
    QVERIFY(height > 40);

    QTest::mouseClick(triangleOf(window), Qt::LeftButton);
    window.window()->layout()->activate();

    QVERIFY(optionsPanel(window)->isVisible());
    QCOMPARE(optionsPanel(window)->height(), height);
    QCOMPARE(window.window()->height(), sheet.height() + height);
    QCOMPARE(window.window()->width(), sheet.width());
    QCOMPARE(frameOf(cameraView(window)), picture.translated(0, height));
    QCOMPARE(frameOf(*triangleOf(window)), triangle.translated(0, height));

    QTest::mouseClick(triangleOf(window), Qt::LeftButton);
    window.window()->layout()->activate();

    QVERIFY(!optionsPanel(window)->isVisible());
    QCOMPARE(window.window()->geometry(), sheet);
    QCOMPARE(frameOf(cameraView(window)), picture);
    QCOMPARE(frameOf(*triangleOf(window)), triangle);
}

void WatchWindowTest::followsPreferences()
{
    const auto camera = plugIn(paper());
    Program program;
    auto& window = openWatch(program);
    QCOMPARE(window.previewF1()->value(), 0.5);
    QCOMPARE(window.scannerF2()->value(), 1.0);

    UserDefaults::standard().setDouble(u"pref-camera-contrast"_s, 50);
    UserDefaults::standard().setInteger(u"pref-mirror-video"_s, 1);

    QCOMPARE(window.previewF1()->value(), 1.0);
    QCOMPARE(window.scannerF1()->value(), 1.0);
    QCOMPARE(window.previewF2()->value(), 1.5);
    QCOMPARE(window.scannerF2()->value(), 1.5);
    QVERIFY(window.preview()->connection()->isVideoMirrored());
}

void WatchWindowTest::onlyCloseIsEnabled()
{
    const auto camera = plugIn(paper());
    Program program;
    auto& window = openWatch(program);
    const auto actions = program.journal().window()->findChildren<QAction*>();
    int enabled = 0;
    for (const QAction* action : actions) {
        enabled += window.validateMenuItem(*action) ? 1 : 0;
    }
    QCOMPARE(enabled, 1);
    auto* close = program.journal().window()->findChild<QAction*>(u"closeWindow"_s);
    QVERIFY(window.validateMenuItem(*close));

    window.perform(*close);

    QTRY_VERIFY(!isSheetAttached(program));
}

void WatchWindowTest::endsInManyWays_data()
{
    QTest::addColumn<std::function<void(WatchWindow&)>>("end");
    const auto row = [](const char* name, const std::function<void(WatchWindow&)>& end) {
        QTest::newRow(name) << end;
    };
    row("button", [](auto& window) { click(window, "buttonCancel"); });
    row("Escape", [](auto& window) { QTest::keyClick(window.window(), Qt::Key_Escape); });
    row("close command",
        [](auto& window) { QTest::keyClick(window.window(), Qt::Key_W, Qt::ControlModifier); });
    row("title bar", [](auto& window) { window.window()->close(); });
}

void WatchWindowTest::endsInManyWays()
{
    QFETCH(std::function<void(WatchWindow&)>, end);
    const auto camera = plugIn(paper());
    Program program;
    auto& window = openWatch(program);
    QTRY_COMPARE(camera->links(), 1);
    QTRY_COMPARE(QApplication::activeWindow(), window.window());

    end(window);

    QVERIFY(!window.window()->isVisible());
    QVERIFY(!window.mCaptureSession()->isRunning());
    QVERIFY(window.mCaptureDeviceInput() != nullptr);
    QVERIFY(window.preview() != nullptr);
    QTRY_VERIFY(!isSheetAttached(program));
    QTRY_COMPARE(camera->links(), 0);
}

void WatchWindowTest::survivesWithoutACamera()
{
    {
        Program program;
        program.journal().watch();
        QVERIFY(!isSheetAttached(program));
    }
    auto camera = plugIn(paper());
    Program program;
    camera.reset();
    QTRY_VERIFY(CaptureDevice::devicesWithMediaType(platform::MediaType::Video).isEmpty());
    const LogLines log;
    auto& window = openWatch(program);

    QCOMPARE(LogLines::all().count(u"(null)"_s), 1); // instead of frame rates
    QTRY_VERIFY(cameraView(window).caption().contains(u"No camera"_s));
    window.cancelCapture();
    QTRY_VERIFY(!isSheetAttached(program));
}

VELLUMCAP_TEST(WatchWindowTest)
#include "tst_watchwindow.moc"
