#include "app/VellumcapAppDelegate.h"
#include "camera/PrefsWindow.h"
#include "journal/JournalWindow.h"
#include "platform/services/Dispatch.h"
#include "platform/services/StandardFolders.h"
#include "platform/store/ManagedObjectContext.h"
#include "platform/ui/Sheet.h"
#include "tests/support/Controls.h"
#include "tests/support/Program.h"
#include "tests/support/ScanningScene.h"
#include "tests/support/TestMain.h"
#include "watch/WatchWindow.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QTimer>

#include <csignal>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

using platform::TerminateReply;
using support::AlertSeen;
using support::answerNextAlert;
using support::control;
using support::Program;
using support::Start;
using vellumcap::Capture;

namespace {

TerminateReply askToTerminate(Program& program)
{
    return program.delegate().applicationShouldTerminate(platform::Application::shared());
}

/// During its lifetime no file of this process can grow: writes fail as on a full disk.
class NoRoomOnDisk {
public:
    NoRoomOnDisk()
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit none{ 0, m_before.rlim_max };
        setrlimit(RLIMIT_FSIZE, &none);
    }
    ~NoRoomOnDisk() { setrlimit(RLIMIT_FSIZE, &m_before); }
    NoRoomOnDisk(const NoRoomOnDisk&) = delete;
    NoRoomOnDisk& operator=(const NoRoomOnDisk&) = delete;

private:
    rlimit m_before{};
};

const AlertSeen quitAlert{
    u"Could not save changes while quitting. Quit anyway?"_s,
    u"Quitting now will lose any changes you have made since the last successful save"_s,
    { u"Quit anyway"_s, u"Cancel"_s },
};

} // namespace

class VellumcapAppDelegateTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void makesTheFolderAndTheStoreOnFirstUse();
    void doesNotOpenTheStoreBeforeItsFirstUse();
    void reportsAFileWhereTheFolderShouldBe();
    void reportsAFolderThatCannotBeMade();
    void reportsAStoreThatCannotBeRead();
    void triesAgainAfterAFailure();
    void openingTheJournalShowsAFailureOnce();
    void terminatesAtOnceWithoutAContext();
    void terminatesWithoutChanges();
    void savesChangesWhileQuitting();
    void commitsTheFieldBeingEditedWhileQuitting();
    void staysWhenAnEditorRefuses();
    void cancelKeepsTheChanges();
    void quitAnywayQuitsWithoutSaving();
    void saveActionPresentsTheError();
    void refreshesTheJournalAfterStoringACapture();
    void opensEachWindowOnce();
    void validatesTheWindowItemsOnly();
    void createsTheScriptsFolder();
    void performsActionsOfTheLauncher_data();
    void performsActionsOfTheLauncher();

private:
    std::unique_ptr<support::CameraRig> m_rig;
};

void VellumcapAppDelegateTest::initTestCase()
{
    m_rig = std::make_unique<support::CameraRig>();
}

void VellumcapAppDelegateTest::makesTheFolderAndTheStoreOnFirstUse()
{
    Program program(Start::NotLaunched);
    QDir(platform::StandardFolders::applicationSupport()).removeRecursively();
    QVERIFY(!QFileInfo::exists(Program::dataFolder()));
    QVERIFY(program.delegate().managedObjectContext() != nullptr);
    QVERIFY(QFileInfo(Program::dataFolder()).isDir());
    QVERIFY(QFileInfo(Program::storePath()).isFile());
    QCOMPARE(program.delegate().managedObjectContext(), program.delegate().managedObjectContext());
}

void VellumcapAppDelegateTest::doesNotOpenTheStoreBeforeItsFirstUse()
{
    Program program(Start::NotLaunched);
    QVERIFY(program.delegate().managedObjectModel() != nullptr);
    QVERIFY(!QFileInfo::exists(Program::dataFolder()));
}

void VellumcapAppDelegateTest::reportsAFileWhereTheFolderShouldBe()
{
    Program program(Start::NotLaunched);
    QDir().mkpath(platform::StandardFolders::applicationSupport());
    QFile file(Program::dataFolder());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QList<AlertSeen> seen;
    answerNextAlert(0, seen);
    QTimer::singleShot(0, this, [&seen] { answerNextAlert(0, seen); });
    QVERIFY(program.delegate().managedObjectContext() == nullptr);
    QCOMPARE(seen.size(), 2);
    QCOMPARE(seen[0].text,
        u"Expected a folder to store application data, found a file (%1)."_s.arg(
            Program::dataFolder()));
    QCOMPARE(seen[1].text, u"Failed to initialize the store"_s);
    QCOMPARE(seen[1].informativeText, u"There was an error building up the data file."_s);
    QVERIFY(QFileInfo(Program::dataFolder()).isFile());
    QFile::remove(Program::dataFolder());
}

void VellumcapAppDelegateTest::reportsAFolderThatCannotBeMade()
{
    Program program(Start::NotLaunched);
    const QString support = platform::StandardFolders::applicationSupport();
    QDir(support).removeRecursively();
    QFile file(support);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QList<AlertSeen> seen;
    answerNextAlert(0, seen);
    QTimer::singleShot(0, this, [&seen] { answerNextAlert(0, seen); });
    QVERIFY(program.delegate().managedObjectContext() == nullptr);
    QCOMPARE(seen.size(), 2);
    QVERIFY(seen[0].text.contains(Program::dataFolder()));
    QVERIFY(!seen[0].text.startsWith(u"Expected a folder"_s));
    QCOMPARE(seen[1].text, u"Failed to initialize the store"_s);
    QFile::remove(support);
    QDir().mkpath(support);
}

void VellumcapAppDelegateTest::reportsAStoreThatCannotBeRead()
{
    const QByteArray torn = "<?xml version=\"1.0\"?><store><obj";
    Program program(Start::NotLaunched);
    QDir().mkpath(Program::dataFolder());
    QFile file(Program::storePath());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(torn);
    file.close();
    QList<AlertSeen> seen;
    answerNextAlert(0, seen);
    QTimer::singleShot(0, this, [&seen] { answerNextAlert(0, seen); });
    QVERIFY(!Capture::getCaptures());
    QCOMPARE(seen.size(), 2);
    QVERIFY(seen[0].text.contains(Program::storePath())
        || seen[0].informativeText.contains(Program::storePath()));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), torn);
}

void VellumcapAppDelegateTest::triesAgainAfterAFailure()
{
    Program program(Start::NotLaunched);
    QFile file(Program::dataFolder());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QList<AlertSeen> seen;
    answerNextAlert(0, seen);
    QTimer::singleShot(0, this, [&seen] { answerNextAlert(0, seen); });
    QVERIFY(program.delegate().managedObjectContext() == nullptr);
    QVERIFY(file.remove());
    QVERIFY(program.delegate().managedObjectContext() != nullptr);
    QCOMPARE(seen.size(), 2);
}

void VellumcapAppDelegateTest::openingTheJournalShowsAFailureOnce()
{
    Program program(Start::NotLaunched);
    QFile file(Program::dataFolder());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QList<AlertSeen> seen;
    answerNextAlert(0, seen);
    QTimer::singleShot(0, this, [&seen] { answerNextAlert(0, seen); });
    program.delegate().openJournalWindow();
    QVERIFY(program.delegate().windowWillReturnUndoManager() == nullptr);
    QCOMPARE(seen.size(), 2);
    QVERIFY(file.remove());
    program.delegate().journalWindow()->refreshLists();
    QVERIFY(program.delegate().windowWillReturnUndoManager() != nullptr);
}

void VellumcapAppDelegateTest::terminatesAtOnceWithoutAContext()
{
    Program program(Start::NotLaunched);
    QCOMPARE(askToTerminate(program), TerminateReply::Now);
    QVERIFY(!QFileInfo::exists(Program::dataFolder()));
}

void VellumcapAppDelegateTest::terminatesWithoutChanges()
{
    Program program;
    const NoRoomOnDisk full;
    QCOMPARE(askToTerminate(program), TerminateReply::Now);
}

void VellumcapAppDelegateTest::savesChangesWhileQuitting()
{
    {
        Program program;
        program.keep(u"x"_s)->setNotes(u"pending"_s);
        QCOMPARE(askToTerminate(program), TerminateReply::Now);
    }
    Program again(Start::NotLaunched, support::Data::Kept);
    QCOMPARE(Capture::getCaptures()->front()->notes(), u"pending"_s);
}

void VellumcapAppDelegateTest::commitsTheFieldBeingEditedWhileQuitting()
{
    {
        Program program;
        program.keep(u"x"_s);
        auto& journal = program.journal();
        control<platform::CollectionView>(journal, "collectionView")->selectItem({ 0, 0 });
        QTest::keyClicks(control<platform::TextField>(journal, "selectedNotes"), u"typed"_s);
        QCOMPARE(askToTerminate(program), TerminateReply::Now);
    }
    Program again(Start::NotLaunched, support::Data::Kept);
    QCOMPARE(Capture::getCaptures()->front()->notes(), u"typed"_s);
}

void VellumcapAppDelegateTest::staysWhenAnEditorRefuses()
{
    Program program;
    const auto editor
        = program.delegate().managedObjectContext()->registerEditor([] { return false; });
    QCOMPARE(askToTerminate(program), TerminateReply::Cancel);
}

void VellumcapAppDelegateTest::cancelKeepsTheChanges()
{
    Program program;
    program.keep(u"x"_s)->setNotes(u"pending"_s);
    QList<AlertSeen> seen;
    {
        const NoRoomOnDisk full;
        answerNextAlert(0, seen);
        QTimer::singleShot(0, this, [&seen] { answerNextAlert(1, seen); });
        QCOMPARE(askToTerminate(program), TerminateReply::Cancel);
    }
    QCOMPARE(seen.size(), 2);
    QVERIFY(!seen[0].text.isEmpty());
    QCOMPARE(seen[1].text, quitAlert.text);
    QCOMPARE(seen[1].informativeText, quitAlert.informativeText);
    QCOMPARE(seen[1].buttons, quitAlert.buttons);
    QVERIFY(program.delegate().managedObjectContext()->hasChanges());
    QCOMPARE(askToTerminate(program), TerminateReply::Now);
    QVERIFY(!program.delegate().managedObjectContext()->hasChanges());
}

void VellumcapAppDelegateTest::quitAnywayQuitsWithoutSaving()
{
    {
        Program program;
        program.keep(u"x"_s)->setNotes(u"pending"_s);
        QList<AlertSeen> seen;
        const NoRoomOnDisk full;
        answerNextAlert(0, seen);
        QTimer::singleShot(0, this, [&seen] { answerNextAlert(0, seen); });
        QCOMPARE(askToTerminate(program), TerminateReply::Now);
        QCOMPARE(seen.size(), 2);
        QCOMPARE(seen[1].text, quitAlert.text);
    }
    Program again(Start::NotLaunched, support::Data::Kept);
    QCOMPARE(Capture::getCaptures()->size(), 1);
    QVERIFY(!Capture::getCaptures()->front()->notes());
}

void VellumcapAppDelegateTest::saveActionPresentsTheError()
{
    Program program;
    program.keep(u"x"_s)->setNotes(u"pending"_s);
    QList<AlertSeen> seen;
    {
        const NoRoomOnDisk full;
        answerNextAlert(0, seen);
        program.delegate().saveAction();
    }
    QCOMPARE(seen.size(), 1);
    QVERIFY(program.delegate().managedObjectContext()->hasChanges());
    program.delegate().saveAction();
    QVERIFY(!program.delegate().managedObjectContext()->hasChanges());
}

void VellumcapAppDelegateTest::refreshesTheJournalAfterStoringACapture()
{
    {
        Program program;

        program.delegate().storeCapture(support::plainPicture(), u"text"_s);

        QCOMPARE(program.journal().captures().size(), 1);
        const auto capture = program.journal().captures().front();
        QCOMPARE(capture->captureValue(), u"text"_s);
        QCOMPARE(capture->getImage().load().size(), support::plainPicture().size());
        QVERIFY(!program.delegate().managedObjectContext()->hasChanges());
    }

    // Without a journal window.
    Program launching(Start::NotLaunched);
    launching.delegate().storeCapture(support::plainPicture(), u"text"_s);
    QCOMPARE(Capture::getCaptures()->size(), 1);
    QVERIFY(launching.delegate().journalWindow() == nullptr);
}

void VellumcapAppDelegateTest::opensEachWindowOnce()
{
    Program program(Start::NotLaunched);
    auto& delegate = program.delegate();
    QVERIFY(delegate.journalWindow() == nullptr);
    QVERIFY(delegate.prefsWindow() == nullptr);
    delegate.openJournalWindow();
    auto* journal = delegate.journalWindow();
    QVERIFY(journal->window()->isVisible());
    journal->window()->close();
    QVERIFY(!journal->window()->isVisible());
    delegate.openJournalWindow();
    QCOMPARE(delegate.journalWindow(), journal);
    QVERIFY(journal->window()->isVisible());

    delegate.openPrefsWindow();
    auto* prefs = delegate.prefsWindow();
    delegate.openPrefsWindow();
    QCOMPARE(delegate.prefsWindow(), prefs);
    QVERIFY(prefs->window()->isVisible());
    prefs->window()->close();
    QVERIFY(!prefs->window()->isVisible());
}

void VellumcapAppDelegateTest::validatesTheWindowItemsOnly()
{
    Program program;
    const auto enabled = [&](const QString& name) {
        QAction item;
        item.setObjectName(name);
        return program.delegate().validateMenuItem(item);
    };
    QVERIFY(enabled(u"openJournalWindow"_s));
    QVERIFY(enabled(u"openPrefsWindow"_s));
    for (const char* name :
        { "saveAction", "scan", "watch", "importImage", "generate", "deleteCapture", "quit", "" }) {
        QVERIFY2(!enabled(QString::fromLatin1(name)), name);
    }
    const auto saveItems = program.journal().window()->findChildren<QAction*>(u"saveAction"_s);
    QCOMPARE(saveItems.size(), 1);
    QVERIFY(!saveItems.first()->isEnabled());
}

void VellumcapAppDelegateTest::createsTheScriptsFolder()
{
    using platform::StandardFolders::Creation;
    Program program(Start::NotLaunched);
    const QString folder = platform::StandardFolders::applicationScripts(Creation::No);
    QDir(folder).removeRecursively();
    QVERIFY(!QFileInfo::exists(folder));
    program.delegate().applicationDidFinishLaunching();
    QTRY_VERIFY(QFileInfo(folder).isDir());
}

void VellumcapAppDelegateTest::performsActionsOfTheLauncher_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isKnown");
    QTest::newRow("as the launcher has it") << u"Watch"_s << true;
    QTest::newRow("small letters") << u"watch"_s << true;
    QTest::newRow("another") << u"watch-everything"_s << false;
    QTest::newRow("none") << QString() << false;
}

void VellumcapAppDelegateTest::performsActionsOfTheLauncher()
{
    QFETCH(QString, name);
    QFETCH(bool, isKnown);

    const auto camera = support::plugIn(*m_rig, support::cameraNamed(u"a"_s));
    Program program;
    program.journal().window()->hide();
    program.delegate().performAction(name);
    QCOMPARE(program.journal().window()->isVisible(), isKnown);
    QCOMPARE(program.journal().watchWindow() != nullptr, isKnown);
    if (isKnown) {
        QCOMPARE(platform::attachedSheet(program.journal().window()),
            program.journal().watchWindow()->window());
        program.journal().watchWindow()->cancelCapture();
    }

    // Before the program has launched, as when the bus has started it for the action.
    Program launching(Start::NotLaunched);
    launching.delegate().performAction(name);
    QCOMPARE(launching.delegate().journalWindow() != nullptr, isKnown);
}

VELLUMCAP_TEST(VellumcapAppDelegateTest)
#include "tst_vellumcapappdelegate.moc"
