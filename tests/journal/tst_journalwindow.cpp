#include "imaging/GenerateWindow.h"
#include "imaging/ImportWindow.h"
#include "journal/CaptureCollectionViewByDateData.h"
#include "journal/ImageCollectionViewCell.h"
#include "journal/JournalWindow.h"
#include "platform/camera/CaptureDevice.h"
#include "platform/store/ManagedObjectContext.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/Sheet.h"
#include "tests/support/Controls.h"
#include "tests/support/Program.h"
#include "tests/support/ScanningScene.h"
#include "tests/support/TestMain.h"
#include "watch/WatchWindow.h"

#include <QAction>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QSplitter>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QUndoStack>

using namespace Qt::StringLiterals;

using support::control;
using support::Data;
using support::Program;
using vellumcap::Capture;
using vellumcap::JournalWindow;

namespace {

const QString webLink = u"https://example.org/x"_s;
const QString plainText = u"just text"_s;

QAction* itemOf(JournalWindow& journal, const char* name)
{
    return control<QAction>(journal, name);
}

platform::CollectionView* list(JournalWindow& journal)
{
    return control<platform::CollectionView>(journal, "collectionView");
}

platform::ImageView* selectedImage(JournalWindow& journal)
{
    return control<platform::ImageView>(journal, "selectedImage");
}

platform::TextField* selectedText(JournalWindow& journal)
{
    return control<platform::TextField>(journal, "selectedText");
}

platform::TextField* selectedNotes(JournalWindow& journal)
{
    return control<platform::TextField>(journal, "selectedNotes");
}

QStringList enabledItems(JournalWindow& journal)
{
    QStringList names;
    for (const char* name : { "scan", "watch", "importImage", "generate", "saveImage",
             "openLinkInSafari", "deleteCapture" }) {
        if (itemOf(journal, name)->isEnabled()) {
            names.append(QString::fromLatin1(name));
        }
    }
    return names;
}

QStringList enabledToolButtons(JournalWindow& journal)
{
    QStringList names;
    for (const auto* button : control<QToolBar>(journal, "toolbar")->findChildren<QToolButton*>()) {
        if (button->defaultAction() != nullptr && button->isEnabled()) {
            names.append(button->defaultAction()->objectName());
        }
    }
    return names;
}

QFileDialog* openSavePanel(JournalWindow& journal)
{
    itemOf(journal, "saveImage")->trigger();
    QFileDialog* panel = nullptr;
    for (auto* widget : QApplication::topLevelWidgets()) {
        if (auto* dialog = qobject_cast<QFileDialog*>(widget); dialog && dialog->isVisible()) {
            panel = dialog;
        }
    }
    return panel;
}

QByteArray bytesOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class JournalWindowTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void showsItsTitleAndNothingAtFirst();
    void validatesItems_data();
    void validatesItems();
    void validatesScanAndWatchByTheCamera();
    void disablesUnknownItems();
    void opensOneSheetAtATime();
    void makesANewControllerForEachSheet();
    void scanAndWatchNeedACamera();
    void passesTheScriptNameOn_data();
    void passesTheScriptNameOn();
    void showsTheSelectedCapture();
    void showsAbsentNotesAsEmpty();
    void keepsNotesWhenTheFieldIsLeft();
    void keepsNotesWhenAnotherCaptureIsSelected();
    void dropsNotesWithoutASelection();
    void deletesTheSelectedCapture();
    void undoBringsADeletedCaptureBack();
    void aRefreshKeepsTheSelectedCapture();
    void newCapturesAppearOnTop();
    void showsMissingPicturesAsEmpty();
    void savesAPictureByteForByte();
    void savingReplacesAnExistingFile();
    void savingOverThePictureItselfKeepsIt();
    void cancellingThePanelChangesNothing();
    void foreignTextStaysPlain();
    void dividersKeepTheListWide();
    void showsTheFlatListToo();
    void closingOnlyHides();
    void survivesAStoreThatCannotBeOpened();

private:
    support::CameraOnStage plugIn();

    std::unique_ptr<support::CameraRig> m_rig;
};

void JournalWindowTest::initTestCase()
{
    m_rig = std::make_unique<support::CameraRig>();
}

void JournalWindowTest::cleanup()
{
    support::CameraRig::awaitNoCameras();
}

support::CameraOnStage JournalWindowTest::plugIn()
{
    return support::plugIn(*m_rig, support::cameraNamed(u"a"_s));
}

void JournalWindowTest::showsItsTitleAndNothingAtFirst()
{
    Program program;
    auto& journal = program.journal();
    QCOMPARE(journal.window()->windowTitle(), u"Vellumcap"_s);
    QVERIFY(journal.selectedCapture() == nullptr);
    QVERIFY(selectedImage(journal)->image().isNull());
    QVERIFY(!selectedText(journal)->isVisible());
    QVERIFY(control<QLabel>(journal, "placeholderTitle")->isVisible());
    QCOMPARE(list(journal)->dataSource(), &journal.captureCollectionViewByDateData());
}

void JournalWindowTest::validatesItems_data()
{
    QTest::addColumn<QString>("selected");
    QTest::addColumn<QStringList>("enabled");
    const QStringList always{ u"importImage"_s, u"generate"_s };
    QTest::newRow("nothing") << QString() << always;
    QTest::newRow("text") << plainText
                          << always + QStringList{ u"saveImage"_s, u"deleteCapture"_s };
    QTest::newRow("link") << webLink
                          << always
            + QStringList{ u"saveImage"_s, u"openLinkInSafari"_s, u"deleteCapture"_s };
}

void JournalWindowTest::validatesItems()
{
    QFETCH(QString, selected);
    QFETCH(QStringList, enabled);
    Program program;
    auto& journal = program.journal();
    if (!selected.isEmpty()) {
        program.keep(selected);
        list(journal)->selectItem({ 0, 0 });
    }
    auto* menu = control<QMenu>(journal, "menuFile");
    Q_EMIT menu->aboutToShow();
    QCOMPARE(enabledItems(journal), enabled);
    QStringList buttons = enabledToolButtons(journal);
    buttons.sort();
    enabled.sort();
    QCOMPARE(buttons, enabled);
}

void JournalWindowTest::validatesScanAndWatchByTheCamera()
{
    {
        Program program;
        QVERIFY(!itemOf(program.journal(), "scan")->isEnabled());
        QVERIFY(!itemOf(program.journal(), "watch")->isEnabled());
    }
    const auto camera = plugIn();
    Program program;
    auto& journal = program.journal();
    QVERIFY(itemOf(journal, "scan")->isEnabled());
    QVERIFY(itemOf(journal, "watch")->isEnabled());
    QVERIFY(enabledToolButtons(journal).contains(u"scan"_s));
}

void JournalWindowTest::disablesUnknownItems()
{
    Program program;
    program.keep(webLink);
    list(program.journal())->selectItem({ 0, 0 });
    for (const char* name : { "", "saveAction", "openJournalWindow", "import", "Scan" }) {
        QAction item;
        item.setObjectName(QString::fromLatin1(name));
        QVERIFY2(!program.journal().validateMenuItem(item), name);
        QVERIFY2(!program.journal().validateToolbarItem(item), name);
    }
}

void JournalWindowTest::opensOneSheetAtATime()
{
    const auto camera = plugIn();
    Program program;
    auto& journal = program.journal();
    itemOf(journal, "importImage")->trigger();
    auto* sheet = platform::attachedSheet(journal.window());
    QVERIFY(sheet != nullptr);
    QCOMPARE(sheet, journal.importWindow()->window());
    auto* first = journal.importWindow();
    journal.importImage();
    journal.generate();
    journal.scan();
    journal.watch();
    QCOMPARE(platform::attachedSheet(journal.window()), sheet);
    QCOMPARE(journal.importWindow(), first);
    QVERIFY(journal.generateWindow() == nullptr);
    QVERIFY(journal.captureWindow() == nullptr);
    QVERIFY(journal.watchWindow() == nullptr);
}

void JournalWindowTest::makesANewControllerForEachSheet()
{
    Program program;
    auto& journal = program.journal();
    journal.importImage();
    QPointer<vellumcap::ImportWindow> first = journal.importWindow();
    support::click(*first, "buttonClose");
    QTRY_VERIFY(platform::attachedSheet(journal.window()) == nullptr);
    journal.importImage();
    QVERIFY(first.isNull());
    QVERIFY(journal.importWindow() != nullptr);
}

void JournalWindowTest::scanAndWatchNeedACamera()
{
    {
        Program program;
        program.journal().scan();
        program.journal().watch();
        program.journal().watch(QVariantMap());
        QVERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
    }
    const auto camera = plugIn();
    Program program;
    auto& journal = program.journal();
    journal.scan();
    QVERIFY(journal.captureWindow() != nullptr);
    QVERIFY(platform::attachedSheet(journal.window()) != nullptr);
}

void JournalWindowTest::passesTheScriptNameOn_data()
{
    QTest::addColumn<QVariantMap>("options");
    QTest::addColumn<QString>("name");
    const QString key = u"ScriptName"_s;
    QTest::newRow("none") << QVariantMap() << QString();
    QTest::newRow("empty") << QVariantMap{ { key, QString() } } << QString();
    QTest::newRow("number") << QVariantMap{ { key, 7 } } << QString();
    QTest::newRow("list") << QVariantMap{ { key, QStringList{ key } } } << QString();
    QTest::newRow("name") << QVariantMap{ { key, u"a.scpt"_s } } << u"a.scpt"_s;
}

void JournalWindowTest::passesTheScriptNameOn()
{
    QFETCH(QVariantMap, options);
    QFETCH(QString, name);
    const auto camera = plugIn();
    Program program;
    auto& journal = program.journal();
    journal.watch(options);
    QVERIFY(journal.watchWindow() != nullptr);
    QCOMPARE(journal.watchWindow()->scriptedScriptName().has_value(), !name.isEmpty());
    QCOMPARE(journal.watchWindow()->scriptedScriptName().value_or(QString()), name);
}

void JournalWindowTest::showsTheSelectedCapture()
{
    Program program;
    auto& journal = program.journal();
    program.keep(plainText)->setNotes(u"my notes"_s);
    QTest::mouseClick(list(journal)->itemAtIndexPath({ 0, 0 }), Qt::LeftButton);
    QVERIFY(selectedText(journal)->isVisible());
    QCOMPARE(selectedText(journal)->stringValue(), plainText);
    QCOMPARE(selectedNotes(journal)->stringValue(), u"my notes"_s);
    QTRY_COMPARE(selectedImage(journal)->image().size(), support::plainPicture().size());
    journal.captureSelected(nullptr);
    QVERIFY(!selectedImage(journal)->isVisible());
    QVERIFY(!selectedText(journal)->isVisible());
    QVERIFY(!selectedNotes(journal)->isVisible());
    QVERIFY(journal.selectedCapture() == nullptr);
}

void JournalWindowTest::showsAbsentNotesAsEmpty()
{
    Program program;
    program.keep(plainText)->setNotes(u"notes"_s);
    program.keep(webLink, QDateTime::currentDateTimeUtc().addSecs(1));
    auto& journal = program.journal();
    list(journal)->selectItem({ 0, 1 });
    QCOMPARE(selectedNotes(journal)->stringValue(), u"notes"_s);
    list(journal)->selectItem({ 0, 0 });
    QCOMPARE(selectedNotes(journal)->stringValue(), QString());
}

void JournalWindowTest::keepsNotesWhenTheFieldIsLeft()
{
    {
        Program program;
        auto& journal = program.journal();
        program.keep(plainText);
        QApplication::setActiveWindow(journal.window());
        list(journal)->selectItem({ 0, 0 });
        selectedNotes(journal)->setFocus();
        QTest::keyClicks(selectedNotes(journal), u"first"_s);
        QTest::keyClick(selectedNotes(journal), Qt::Key_Return);
        QTest::keyClicks(selectedNotes(journal), u"second"_s);
        QVERIFY(!journal.selectedCapture()->notes());
        QTest::keyClick(selectedNotes(journal), Qt::Key_Tab);
        QCOMPARE(journal.selectedCapture()->notes(), u"first\nsecond"_s);
        QVERIFY(!program.delegate().managedObjectContext()->hasChanges());
    }
    Program again(support::Start::Launched, Data::Kept);
    list(again.journal())->selectItem({ 0, 0 });
    QCOMPARE(selectedNotes(again.journal())->stringValue(), u"first\nsecond"_s);
}

void JournalWindowTest::keepsNotesWhenAnotherCaptureIsSelected()
{
    Program program;
    auto& journal = program.journal();
    const auto first = program.keep(u"first"_s);
    const auto second = program.keep(u"second"_s, QDateTime::currentDateTimeUtc().addSecs(1));
    journal.captureSelected(first);
    QTest::keyClicks(selectedNotes(journal), u"of the first"_s);
    journal.captureSelected(second);
    QCOMPARE(first->notes(), u"of the first"_s);
    QVERIFY(!second->notes());
}

void JournalWindowTest::dropsNotesWithoutASelection()
{
    Program program;
    auto& journal = program.journal();
    const auto capture = program.keep(plainText);
    capture->setNotes(u"pending"_s);
    journal.captureSelected(nullptr);
    selectedNotes(journal)->setStringValue(u"dropped"_s);
    journal.controlTextDidEndEditing(*selectedNotes(journal));
    QCOMPARE(capture->notes(), u"pending"_s);
    QVERIFY(!program.delegate().managedObjectContext()->hasChanges());
}

void JournalWindowTest::deletesTheSelectedCapture()
{
    Program program;
    auto& journal = program.journal();
    const QDateTime noon(QDate(2026, 6, 10), QTime(12, 0), Qt::UTC);
    program.keep(u"alone"_s, noon);
    program.keep(u"a"_s, noon.addDays(-1));
    program.keep(u"b"_s, noon.addDays(-1).addSecs(-1));
    auto& days = journal.captureCollectionViewByDateData();
    QCOMPARE(days.sortedKeys().size(), 2);
    list(journal)->selectItem({ 0, 0 });
    QApplication::setActiveWindow(journal.window());
    QVERIFY(QTest::qWaitForWindowActive(journal.window(), support::patience));
    QTest::keyClick(list(journal), Qt::Key_Delete);
    QVERIFY(journal.selectedCapture() == nullptr);
    QVERIFY(!selectedText(journal)->isVisible());
    QCOMPARE(days.sortedKeys().size(), 1);
    QCOMPARE(journal.captures().size(), 2);
    QCOMPARE(journal.captures()[0]->captureValue(), u"a"_s);
    QCOMPARE(journal.captures()[1]->captureValue(), u"b"_s);
    QCOMPARE(Program::pictures().size(), 2);
    QVERIFY(!itemOf(journal, "deleteCapture")->isEnabled());
}

void JournalWindowTest::undoBringsADeletedCaptureBack()
{
    Program program;
    auto& journal = program.journal();
    program.keep(plainText);
    list(journal)->selectItem({ 0, 0 });
    itemOf(journal, "deleteCapture")->trigger();
    QVERIFY(journal.captures().empty());
    Q_EMIT control<QMenu>(journal, "menuEdit")->aboutToShow();
    QVERIFY(itemOf(journal, "undo")->isEnabled());
    itemOf(journal, "undo")->trigger();
    QCOMPARE(journal.captures().size(), 1);
    QVERIFY(list(journal)->itemAtIndexPath({ 0, 0 }) != nullptr);
    QCOMPARE(Program::pictures().size(), 1);
    QVERIFY(!program.delegate().managedObjectContext()->hasChanges());
}

void JournalWindowTest::aRefreshKeepsTheSelectedCapture()
{
    Program program;
    auto& journal = program.journal();
    const auto capture = program.keep(plainText);
    list(journal)->selectItem({ 0, 0 });
    journal.refreshLists();
    QCOMPARE(journal.selectedCapture(), capture);
    QVERIFY(list(journal)->selectionIndexPaths().isEmpty());
    QVERIFY(selectedText(journal)->isVisible());
}

void JournalWindowTest::newCapturesAppearOnTop()
{
    Program program;
    auto& journal = program.journal();
    program.keep(u"old"_s, QDateTime::currentDateTimeUtc().addDays(-3));
    Capture::storeCapture(support::plainPicture(), u"one"_s);
    journal.refreshLists();
    QTest::qWait(2); // the times must differ by a millisecond
    Capture::storeCapture(support::plainPicture(), u"two"_s);
    journal.refreshLists();
    QCOMPARE(list(journal)->itemAtIndexPath({ 0, 0 })->textField->text(), u"two"_s);
    QCOMPARE(list(journal)->itemAtIndexPath({ 0, 1 })->textField->text(), u"one"_s);
    QCOMPARE(list(journal)->itemAtIndexPath({ 1, 0 })->textField->text(), u"old"_s);
}

void JournalWindowTest::showsMissingPicturesAsEmpty()
{
    Program program;
    auto& journal = program.journal();
    const auto capture = program.keep(plainText);
    QVERIFY(QFile::remove(capture->getImageUrl()));
    journal.captureSelected(capture);
    QVERIFY(selectedImage(journal)->image().isNull());
    const QString target = Program::dataFolder() + u"/../out.jpg"_s;
    auto* panel = openSavePanel(journal);
    QVERIFY(panel != nullptr);
    panel->selectFile(target);
    panel->findChild<QLineEdit*>()->setText(target);
    QMetaObject::invokeMethod(panel, "accept");
    QTRY_VERIFY(!panel->isVisible());
    QVERIFY(!QFileInfo::exists(target));
}

void JournalWindowTest::savesAPictureByteForByte()
{
    Program program;
    auto& journal = program.journal();
    const auto capture = program.keep(plainText);
    journal.captureSelected(capture);
    auto* panel = openSavePanel(journal);
    QVERIFY(panel != nullptr);
    QCOMPARE(panel->acceptMode(), QFileDialog::AcceptSave);
    QVERIFY(panel->findChild<QLineEdit*>()->text().startsWith(u"QR Capture"_s));
    const QString target = QDir::tempPath() + u"/exported-"_s + capture->captureImageKey();
    panel->findChild<QLineEdit*>()->setText(target);
    QMetaObject::invokeMethod(panel, "accept");
    QTRY_VERIFY(QFileInfo::exists(target + u".jpg"_s));
    QCOMPARE(bytesOf(target + u".jpg"_s), bytesOf(capture->getImageUrl()));
    QFile::remove(target + u".jpg"_s);
}

void JournalWindowTest::savingReplacesAnExistingFile()
{
    Program program;
    auto& journal = program.journal();
    const auto capture = program.keep(plainText);
    journal.captureSelected(capture);
    const QString target = QDir::homePath() + u"/there.jpg"_s;
    QFile there(target);
    QVERIFY(there.open(QIODevice::WriteOnly));
    there.write("something else");
    there.close();
    auto* panel = openSavePanel(journal);
    panel->setOption(QFileDialog::DontConfirmOverwrite);
    panel->findChild<QLineEdit*>()->setText(target);
    QMetaObject::invokeMethod(panel, "accept");
    QTRY_COMPARE(bytesOf(target), bytesOf(capture->getImageUrl()));
}

void JournalWindowTest::savingOverThePictureItselfKeepsIt()
{
    Program program;
    auto& journal = program.journal();
    const auto capture = program.keep(plainText);
    journal.captureSelected(capture);
    const QByteArray bytes = bytesOf(capture->getImageUrl());
    auto* panel = openSavePanel(journal);
    panel->setOption(QFileDialog::DontConfirmOverwrite);
    panel->findChild<QLineEdit*>()->setText(capture->getImageUrl());
    QMetaObject::invokeMethod(panel, "accept");
    QTRY_VERIFY(!panel->isVisible());
    QCOMPARE(bytesOf(capture->getImageUrl()), bytes);
}

void JournalWindowTest::cancellingThePanelChangesNothing()
{
    Program program;
    auto& journal = program.journal();
    journal.captureSelected(program.keep(plainText));
    const QStringList before = QDir::home().entryList(QDir::Files);
    auto* panel = openSavePanel(journal);
    panel->reject();
    QTRY_VERIFY(platform::attachedSheet(journal.window()) == nullptr);
    QCOMPARE(QDir::home().entryList(QDir::Files), before);
}

void JournalWindowTest::foreignTextStaysPlain()
{
    Program program;
    const QString hostile = u"<img src='file:///etc/passwd'><b>%1 %n</b>"_s;
    program.keep(hostile);
    auto& journal = program.journal();
    list(journal)->selectItem({ 0, 0 });
    QCOMPARE(selectedText(journal)->stringValue(), hostile);
    auto* cell = list(journal)->itemAtIndexPath({ 0, 0 });
    QCOMPARE(cell->textField->text(), hostile);
    for (const auto* label : journal.window()->findChildren<QLabel*>()) {
        if (label->text().contains(u"passwd"_s)) {
            QCOMPARE(label->textFormat(), Qt::PlainText);
        }
    }
}

void JournalWindowTest::dividersKeepTheListWide()
{
    Program program;
    auto& journal = program.journal();
    auto* split = control<QSplitter>(journal, "splitView");
    QCOMPARE(journal.constrainMinCoordinate(), 220.0);
    for (const int proposed : { 0, 10, 219 }) {
        split->setSizes({ proposed, 900 });
        QCOMPARE(split->sizes().at(0), 220);
    }
}

void JournalWindowTest::showsTheFlatListToo()
{
    Program program;
    auto& journal = program.journal();
    program.keep(u"old"_s, QDateTime::currentDateTimeUtc().addDays(-3));
    const auto newest = program.keep(u"new"_s);
    auto& view = *list(journal);
    view.setDataSource(&journal);
    view.setDelegate(&journal);
    QCOMPARE(journal.numberOfSectionsInCollectionView(), 1);
    QCOMPARE(journal.numberOfItemsInSection(0), 2);
    QCOMPARE(view.itemAtIndexPath({ 0, 0 })->textField->text(), u"new"_s);
    QCOMPARE(view.itemAtIndexPath({ 0, 1 })->textField->text(), u"old"_s);
    view.selectItem({ 0, 0 });
    QCOMPARE(journal.selectedCapture(), newest);
}

void JournalWindowTest::closingOnlyHides()
{
    Program program;
    auto& journal = program.journal();
    QVERIFY(journal.window()->close());
    QVERIFY(!journal.window()->isVisible());
    program.keep(plainText);
    program.delegate().openJournalWindow();
    QVERIFY(journal.window()->isVisible());
    QCOMPARE(journal.captures().size(), 1);
}

void JournalWindowTest::survivesAStoreThatCannotBeOpened()
{
    Program program(support::Start::NotLaunched);
    QDir().mkpath(Program::dataFolder());
    QFile store(Program::storePath());
    QVERIFY(store.open(QIODevice::WriteOnly));
    store.write("no store");
    store.close();
    QList<support::AlertSeen> seen;
    QTimer answer;
    connect(&answer, &QTimer::timeout, this, [&seen] {
        if (QApplication::activeModalWidget() != nullptr) {
            support::answerNextAlert(0, seen);
        }
    });
    answer.start(0);
    program.delegate().openJournalWindow();
    QVERIFY(program.journal().captures().empty());
    program.journal().refreshLists();
    QVERIFY(program.journal().captures().empty());
    QVERIFY(seen.size() >= 2);
}

VELLUMCAP_TEST(JournalWindowTest)
#include "tst_journalwindow.moc"
