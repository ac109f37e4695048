#include "imaging/GenerateWindow.h"
#include "imaging/ImportWindow.h"
#include "journal/CaptureCollectionViewByDateData.h"
#include "journal/ImageCollectionViewCell.h"
#include "journal/JournalWindow.h"
#include "platform/store/ManagedObjectContext.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/Sheet.h"
#include "platform/ui/TextField.h"
#include "tests/support/Program.h"
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

using support::Data;
using support::Program;
using vellumcap::Capture;
using vellumcap::JournalWindow;

namespace {

const QString webLink = QStringLiteral("https://example.org/x");
const QString plainText = QStringLiteral("just text");

QAction* itemOf(JournalWindow& journal, const char* name)
{
    auto* item = journal.window()->findChild<QAction*>(QString::fromLatin1(name));
    Q_ASSERT(item != nullptr);
    return item;
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
    for (const auto* button : journal.toolbar->findChildren<QToolButton*>()) {
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
};

void JournalWindowTest::showsItsTitleAndNothingAtFirst()
{
    Program program;
    auto& journal = program.journal();
    QCOMPARE(journal.window()->windowTitle(), QStringLiteral("Vellumcap"));
    QVERIFY(journal.selectedCapture() == nullptr);
    QVERIFY(journal.selectedImage->image().isNull());
    QVERIFY(!journal.selectedText->isVisible());
    QVERIFY(journal.window()->findChild<QLabel*>(QStringLiteral("placeholderTitle"))->isVisible());
    QCOMPARE(journal.collectionView->dataSource(), &journal.captureCollectionViewByDateData());
}

void JournalWindowTest::validatesItems_data()
{
    QTest::addColumn<QString>("selected");
    QTest::addColumn<QStringList>("enabled");
    const QStringList always{ QStringLiteral("importImage"), QStringLiteral("generate") };
    QTest::newRow("nothing") << QString() << always;
    QTest::newRow("text") << plainText
                          << always
            + QStringList{ QStringLiteral("saveImage"), QStringLiteral("deleteCapture") };
    QTest::newRow("link") << webLink
                          << always
            + QStringList{ QStringLiteral("saveImage"), QStringLiteral("openLinkInSafari"),
                  QStringLiteral("deleteCapture") };
}

void JournalWindowTest::validatesItems()
{
    QFETCH(QString, selected);
    QFETCH(QStringList, enabled);
    Program program;
    auto& journal = program.journal();
    if (!selected.isEmpty()) {
        program.keep(selected);
        journal.collectionView->selectItem({ 0, 0 });
    }
    auto* menu = journal.window()->findChild<QMenu*>(QStringLiteral("menuFile"));
    Q_EMIT menu->aboutToShow();
    QCOMPARE(enabledItems(journal), enabled);
    QStringList buttons = enabledToolButtons(journal);
    buttons.sort();
    enabled.sort();
    QCOMPARE(buttons, enabled);
}

void JournalWindowTest::validatesScanAndWatchByTheCamera()
{
    Program program;
    auto& journal = program.journal();
    journal.setScanAvailable(false);
    QVERIFY(!itemOf(journal, "scan")->isEnabled());
    QVERIFY(!itemOf(journal, "watch")->isEnabled());
    journal.setScanAvailable(true);
    QVERIFY(itemOf(journal, "scan")->isEnabled());
    QVERIFY(itemOf(journal, "watch")->isEnabled());
    QVERIFY(enabledToolButtons(journal).contains(QStringLiteral("scan")));
}

void JournalWindowTest::disablesUnknownItems()
{
    Program program;
    program.keep(webLink);
    program.journal().collectionView->selectItem({ 0, 0 });
    for (const char* name : { "", "saveAction", "openJournalWindow", "import", "Scan" }) {
        QAction item;
        item.setObjectName(QString::fromLatin1(name));
        QVERIFY2(!program.journal().validateMenuItem(item), name);
        QVERIFY2(!program.journal().validateToolbarItem(item), name);
    }
}

void JournalWindowTest::opensOneSheetAtATime()
{
    Program program;
    auto& journal = program.journal();
    journal.setScanAvailable(true);
    itemOf(journal, "importImage")->trigger();
    auto* sheet = platform::attachedSheet(journal.window());
    QVERIFY(sheet != nullptr);
    QCOMPARE(sheet, journal.importWindow()->window());
    auto* first = journal.importWindow();
    journal.importImage(nullptr);
    journal.generate(nullptr);
    journal.scan(nullptr);
    journal.watch(static_cast<QObject*>(nullptr));
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
    journal.importImage(nullptr);
    QPointer<vellumcap::ImportWindow> first = journal.importWindow();
    QCOMPARE(first->windowNibName(), QStringLiteral("ImportWindow"));
    QTest::mouseClick(first->buttonClose, Qt::LeftButton);
    QTRY_VERIFY(platform::attachedSheet(journal.window()) == nullptr);
    journal.importImage(nullptr);
    QVERIFY(first.isNull());
    QVERIFY(journal.importWindow() != nullptr);
}

void JournalWindowTest::scanAndWatchNeedACamera()
{
    Program program;
    auto& journal = program.journal();
    journal.setScanAvailable(false);
    journal.scan(nullptr);
    journal.watch(QVariantMap());
    QVERIFY(platform::attachedSheet(journal.window()) == nullptr);
    journal.setScanAvailable(true);
    journal.scan(nullptr);
    QVERIFY(journal.captureWindow() != nullptr);
    QVERIFY(platform::attachedSheet(journal.window()) != nullptr);
}

void JournalWindowTest::passesTheScriptNameOn_data()
{
    QTest::addColumn<QVariantMap>("options");
    QTest::addColumn<QString>("name");
    const QString key = QStringLiteral("ScriptName");
    QTest::newRow("none") << QVariantMap() << QString();
    QTest::newRow("empty") << QVariantMap{ { key, QString() } } << QString();
    QTest::newRow("number") << QVariantMap{ { key, 7 } } << QString();
    QTest::newRow("list") << QVariantMap{ { key, QStringList{ key } } } << QString();
    QTest::newRow("name") << QVariantMap{ { key, QStringLiteral("a.scpt") } }
                          << QStringLiteral("a.scpt");
}

void JournalWindowTest::passesTheScriptNameOn()
{
    QFETCH(QVariantMap, options);
    QFETCH(QString, name);
    Program program;
    auto& journal = program.journal();
    journal.setScanAvailable(true);
    journal.watch(options);
    QVERIFY(journal.watchWindow() != nullptr);
    QCOMPARE(journal.watchWindow()->scriptedScriptName().has_value(), !name.isEmpty());
    QCOMPARE(journal.watchWindow()->scriptedScriptName().value_or(QString()), name);
}

void JournalWindowTest::showsTheSelectedCapture()
{
    Program program;
    auto& journal = program.journal();
    program.keep(plainText)->setNotes(QStringLiteral("my notes"));
    QTest::mouseClick(journal.collectionView->itemAtIndexPath({ 0, 0 }), Qt::LeftButton);
    QVERIFY(journal.selectedText->isVisible());
    QCOMPARE(journal.selectedText->stringValue(), plainText);
    QCOMPARE(journal.selectedNotes->stringValue(), QStringLiteral("my notes"));
    QTRY_COMPARE(journal.selectedImage->image().size(), support::plainPicture().size());
    journal.captureSelected(nullptr);
    QVERIFY(!journal.selectedImage->isVisible());
    QVERIFY(!journal.selectedText->isVisible());
    QVERIFY(!journal.selectedNotes->isVisible());
    QVERIFY(journal.selectedCapture() == nullptr);
}

void JournalWindowTest::showsAbsentNotesAsEmpty()
{
    Program program;
    program.keep(plainText)->setNotes(QStringLiteral("notes"));
    program.keep(webLink, QDateTime::currentDateTimeUtc().addSecs(1));
    auto& journal = program.journal();
    journal.collectionView->selectItem({ 0, 1 });
    QCOMPARE(journal.selectedNotes->stringValue(), QStringLiteral("notes"));
    journal.collectionView->selectItem({ 0, 0 });
    QCOMPARE(journal.selectedNotes->stringValue(), QString());
}

void JournalWindowTest::keepsNotesWhenTheFieldIsLeft()
{
    {
        Program program;
        auto& journal = program.journal();
        program.keep(plainText);
        QApplication::setActiveWindow(journal.window());
        journal.collectionView->selectItem({ 0, 0 });
        journal.selectedNotes->setFocus();
        QTest::keyClicks(journal.selectedNotes, QStringLiteral("first"));
        QTest::keyClick(journal.selectedNotes, Qt::Key_Return);
        QTest::keyClicks(journal.selectedNotes, QStringLiteral("second"));
        QVERIFY(!journal.selectedCapture()->notes());
        QTest::keyClick(journal.selectedNotes, Qt::Key_Tab);
        QCOMPARE(journal.selectedCapture()->notes(), QStringLiteral("first\nsecond"));
        QVERIFY(!program.delegate().managedObjectContext()->hasChanges());
    }
    Program again(support::Start::Launched, Data::Kept);
    again.journal().collectionView->selectItem({ 0, 0 });
    QCOMPARE(again.journal().selectedNotes->stringValue(), QStringLiteral("first\nsecond"));
}

void JournalWindowTest::keepsNotesWhenAnotherCaptureIsSelected()
{
    Program program;
    auto& journal = program.journal();
    const auto first = program.keep(QStringLiteral("first"));
    const auto second
        = program.keep(QStringLiteral("second"), QDateTime::currentDateTimeUtc().addSecs(1));
    journal.captureSelected(first);
    QTest::keyClicks(journal.selectedNotes, QStringLiteral("of the first"));
    journal.captureSelected(second);
    QCOMPARE(first->notes(), QStringLiteral("of the first"));
    QVERIFY(!second->notes());
}

void JournalWindowTest::dropsNotesWithoutASelection()
{
    Program program;
    auto& journal = program.journal();
    const auto capture = program.keep(plainText);
    capture->setNotes(QStringLiteral("pending"));
    journal.captureSelected(nullptr);
    journal.selectedNotes->setStringValue(QStringLiteral("dropped"));
    journal.controlTextDidEndEditing(*journal.selectedNotes);
    QCOMPARE(capture->notes(), QStringLiteral("pending"));
    QVERIFY(!program.delegate().managedObjectContext()->hasChanges());
}

void JournalWindowTest::deletesTheSelectedCapture()
{
    Program program;
    auto& journal = program.journal();
    const QDateTime noon(QDate(2026, 6, 10), QTime(12, 0), Qt::UTC);
    program.keep(QStringLiteral("alone"), noon);
    program.keep(QStringLiteral("a"), noon.addDays(-1));
    program.keep(QStringLiteral("b"), noon.addDays(-1).addSecs(-1));
    auto& days = journal.captureCollectionViewByDateData();
    QCOMPARE(days.sortedKeys().size(), 2);
    journal.collectionView->selectItem({ 0, 0 });
    QApplication::setActiveWindow(journal.window());
    QVERIFY(QTest::qWaitForWindowActive(journal.window()));
    QTest::keyClick(journal.collectionView, Qt::Key_Delete);
    QVERIFY(journal.selectedCapture() == nullptr);
    QVERIFY(!journal.selectedText->isVisible());
    QCOMPARE(days.sortedKeys().size(), 1);
    QCOMPARE(journal.captures().size(), 2);
    QCOMPARE(journal.captures()[0]->captureValue(), QStringLiteral("a"));
    QCOMPARE(journal.captures()[1]->captureValue(), QStringLiteral("b"));
    QCOMPARE(Program::pictures().size(), 2);
    QVERIFY(!itemOf(journal, "deleteCapture")->isEnabled());
}

void JournalWindowTest::undoBringsADeletedCaptureBack()
{
    Program program;
    auto& journal = program.journal();
    program.keep(plainText);
    journal.collectionView->selectItem({ 0, 0 });
    itemOf(journal, "deleteCapture")->trigger();
    QVERIFY(journal.captures().empty());
    Q_EMIT journal.window()->findChild<QMenu*>(QStringLiteral("menuEdit"))->aboutToShow();
    QVERIFY(itemOf(journal, "undo")->isEnabled());
    itemOf(journal, "undo")->trigger();
    QCOMPARE(journal.captures().size(), 1);
    QVERIFY(journal.collectionView->itemAtIndexPath({ 0, 0 }) != nullptr);
    QCOMPARE(Program::pictures().size(), 1);
    QVERIFY(!program.delegate().managedObjectContext()->hasChanges());
}

void JournalWindowTest::aRefreshKeepsTheSelectedCapture()
{
    Program program;
    auto& journal = program.journal();
    const auto capture = program.keep(plainText);
    journal.collectionView->selectItem({ 0, 0 });
    journal.refreshLists();
    QCOMPARE(journal.selectedCapture(), capture);
    QVERIFY(journal.collectionView->selectionIndexPaths().isEmpty());
    QVERIFY(journal.selectedText->isVisible());
}

void JournalWindowTest::newCapturesAppearOnTop()
{
    Program program;
    auto& journal = program.journal();
    program.keep(QStringLiteral("old"), QDateTime::currentDateTimeUtc().addDays(-3));
    Capture::storeCapture(support::plainPicture(), QStringLiteral("one"));
    journal.refreshLists();
    QTest::qWait(2); // moments differ by a millisecond at least
    Capture::storeCapture(support::plainPicture(), QStringLiteral("two"));
    journal.refreshLists();
    QCOMPARE(journal.collectionView->itemAtIndexPath({ 0, 0 })->textField->text(),
        QStringLiteral("two"));
    QCOMPARE(journal.collectionView->itemAtIndexPath({ 0, 1 })->textField->text(),
        QStringLiteral("one"));
    QCOMPARE(journal.collectionView->itemAtIndexPath({ 1, 0 })->textField->text(),
        QStringLiteral("old"));
}

void JournalWindowTest::showsMissingPicturesAsEmpty()
{
    Program program;
    auto& journal = program.journal();
    const auto capture = program.keep(plainText);
    QVERIFY(QFile::remove(capture->getImageUrl()));
    journal.captureSelected(capture);
    QVERIFY(journal.selectedImage->image().isNull());
    const QString target = Program::dataFolder() + QStringLiteral("/../out.jpg");
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
    QVERIFY(panel->findChild<QLineEdit*>()->text().startsWith(QStringLiteral("QR Capture")));
    const QString target
        = QDir::tempPath() + QStringLiteral("/exported-") + capture->captureImageKey();
    panel->findChild<QLineEdit*>()->setText(target);
    QMetaObject::invokeMethod(panel, "accept");
    QTRY_VERIFY(QFileInfo::exists(target + QStringLiteral(".jpg")));
    QCOMPARE(bytesOf(target + QStringLiteral(".jpg")), bytesOf(capture->getImageUrl()));
    QFile::remove(target + QStringLiteral(".jpg"));
}

void JournalWindowTest::savingReplacesAnExistingFile()
{
    Program program;
    auto& journal = program.journal();
    const auto capture = program.keep(plainText);
    journal.captureSelected(capture);
    const QString target = QDir::homePath() + QStringLiteral("/there.jpg");
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
    const QString hostile = QStringLiteral("<img src='file:///etc/passwd'><b>%1 %n</b>");
    program.keep(hostile);
    auto& journal = program.journal();
    journal.collectionView->selectItem({ 0, 0 });
    QCOMPARE(journal.selectedText->stringValue(), hostile);
    auto* cell = journal.collectionView->itemAtIndexPath({ 0, 0 });
    QCOMPARE(cell->textField->text(), hostile);
    for (const auto* label : journal.window()->findChildren<QLabel*>()) {
        if (label->text().contains(QStringLiteral("passwd"))) {
            QCOMPARE(label->textFormat(), Qt::PlainText);
        }
    }
}

void JournalWindowTest::dividersKeepTheListWide()
{
    Program program;
    auto& journal = program.journal();
    auto* split = journal.window()->findChild<QSplitter*>(QStringLiteral("splitView"));
    for (const double proposed : { -10.0, 0.0, 219.0, 500.0 }) {
        QCOMPARE(journal.constrainMinCoordinate(*split, proposed, 0), 220.0);
        QCOMPARE(journal.constrainMinCoordinate(*split, proposed, 3), 220.0);
    }
    split->setSizes({ 10, 900 });
    QVERIFY(split->sizes().at(0) >= 220);
}

void JournalWindowTest::showsTheFlatListToo()
{
    Program program;
    auto& journal = program.journal();
    program.keep(QStringLiteral("old"), QDateTime::currentDateTimeUtc().addDays(-3));
    const auto newest = program.keep(QStringLiteral("new"));
    auto& view = *journal.collectionView;
    view.setDataSource(&journal);
    view.setDelegate(&journal);
    QCOMPARE(journal.numberOfSectionsInCollectionView(view), 1);
    QCOMPARE(journal.numberOfItemsInSection(view, 0), 2);
    QCOMPARE(view.itemAtIndexPath({ 0, 0 })->textField->text(), QStringLiteral("new"));
    QCOMPARE(view.itemAtIndexPath({ 0, 1 })->textField->text(), QStringLiteral("old"));
    view.selectItem({ 0, 0 });
    QCOMPARE(journal.selectedCapture(), newest);
}

void JournalWindowTest::closingOnlyHides()
{
    Program program;
    auto& journal = program.journal();
    QVERIFY(journal.windowShouldClose(journal.window()));
    journal.window()->close();
    QVERIFY(!journal.window()->isVisible());
    program.keep(plainText);
    program.delegate().openJournalWindow(nullptr);
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
    program.delegate().openJournalWindow(nullptr);
    QVERIFY(program.journal().captures().empty());
    program.journal().refreshLists();
    QVERIFY(program.journal().captures().empty());
    QVERIFY(seen.size() >= 2);
}

VELLUMCAP_TEST_MAIN(JournalWindowTest)
#include "tst_journalwindow.moc"
