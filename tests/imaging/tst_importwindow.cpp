#include "imaging/ImportWindow.h"
#include "platform/barcode/BarcodeObservation.h"
#include "platform/ui/ImageWell.h"
#include "platform/ui/Sheet.h"
#include "tests/support/Controls.h"
#include "tests/support/DrawnCode.h"
#include "tests/support/Examinations.h"
#include "tests/support/Program.h"
#include "tests/support/TestMain.h"

#include <QClipboard>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>

using namespace Qt::StringLiterals;

using platform::Symbology;
using support::click;
using support::control;
using support::Program;
using support::shownText;
using support::waitForExaminations;
using vellumcap::ImportWindow;

namespace {

QImage qr(const QString& text)
{
    return support::drawnCode(Symbology::Qr, text);
}

platform::ImageWell* imageWell(ImportWindow& window)
{
    return control<platform::ImageWell>(window, "imageWell");
}

/// The prompt in the empty well.
bool isPromptVisible(ImportWindow& window)
{
    return control<QLabel>(window, "labelDragImage")->isVisible();
}

/// Drops the picture onto the well, as from another program.
void drop(ImportWindow& window, const QImage& picture)
{
    QMimeData data;
    data.setImageData(picture);
    auto* well = imageWell(window);
    const QPoint centre = well->rect().center();
    QDragEnterEvent enter(centre, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(well, &enter);
    if (!enter.isAccepted()) {
        return;
    }
    QDropEvent event(centre, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(well, &event);
}

ImportWindow& openImport(Program& program)
{
    program.journal().importImage();
    return *program.journal().importWindow();
}

QString enabledButtons(ImportWindow& window)
{
    QStringList names;
    for (const char* name : { "buttonClose", "buttonSave", "buttonSkip", "buttonOpenLink" }) {
        if (control<QPushButton>(window, name)->isEnabled()) {
            names.append(QString::fromLatin1(name));
        }
    }
    return names.join(u' ');
}

const QString waiting = u"buttonClose"_s;
const QString offering = u"buttonClose buttonSave buttonSkip"_s;
const QString offeringLink = u"buttonClose buttonSave buttonSkip buttonOpenLink"_s;

} // namespace

class ImportWindowTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void waitsAtFirst();
    void offersTheFirstCode();
    void enablesOpenLinkForLinksOnly_data();
    void enablesOpenLinkForLinksOnly();
    void ignoresTheCodeLastOffered();
    void offersACodeAgainAfterAnother();
    void offersTheFirstOfSeveral();
    void clearsTheOfferAtOnceOnADrop();
    void staysWithAPictureWithoutCode();
    void savesTheBitmapThatWasExamined();
    void skipReturnsToWaiting();
    void closeStoresNothing();
    void escapeCloses();
    void aNewSheetOffersTheCodeAgain();
    void survivesClosingDuringAnExamination();
    void anEmptyWellOffersNothing();
    void theLaterOfTwoDropsWins();
    void readsPastedPictures();
};

void ImportWindowTest::waitsAtFirst()
{
    Program program;
    auto& window = openImport(program);
    QCOMPARE(enabledButtons(window), waiting);
    QVERIFY(isPromptVisible(window));
    QVERIFY(!window.captureData());
    QVERIFY(window.capturedImage().isNull());
    QCOMPARE(window.captureState(), 0);
    QCOMPARE(shownText(window), QString());
}

void ImportWindowTest::offersTheFirstCode()
{
    Program program;
    auto& window = openImport(program);
    drop(window, qr(u"first"_s));
    QVERIFY(!isPromptVisible(window));
    QTRY_COMPARE(shownText(window), u"first"_s);
    QCOMPARE(enabledButtons(window), offering);
    QCOMPARE(window.captureState(), 1);
    QCOMPARE(window.captureData(), u"first"_s);
    QVERIFY(!isPromptVisible(window));
    QVERIFY(!imageWell(window)->image().isNull());
}

void ImportWindowTest::enablesOpenLinkForLinksOnly_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("buttons");
    QTest::newRow("link") << u"https://example.org/a"_s << offeringLink;
    QTest::newRow("bare host") << u"example.org"_s << offering;
    QTest::newRow("sentence") << u"go to https://example.org"_s << offering;
}

void ImportWindowTest::enablesOpenLinkForLinksOnly()
{
    QFETCH(QString, text);
    QFETCH(QString, buttons);
    Program program;
    auto& window = openImport(program);
    drop(window, qr(text));
    QTRY_COMPARE(shownText(window), text);
    QCOMPARE(enabledButtons(window), buttons);
}

void ImportWindowTest::ignoresTheCodeLastOffered()
{
    Program program;
    auto& window = openImport(program);
    const QImage picture = qr(u"same"_s);
    drop(window, picture);
    QTRY_COMPARE(shownText(window), u"same"_s);
    drop(window, picture);
    waitForExaminations();
    QCOMPARE(shownText(window), QString());
    QCOMPARE(enabledButtons(window), waiting);
    QVERIFY(!isPromptVisible(window));
    QCOMPARE(window.captureState(), 1);
    // The same code in another picture is the same code.
    drop(window, support::drawnCode(Symbology::Qr, u"same"_s, 7));
    waitForExaminations();
    QCOMPARE(enabledButtons(window), waiting);
}

void ImportWindowTest::offersACodeAgainAfterAnother()
{
    Program program;
    auto& window = openImport(program);
    for (const char* text : { "X", "Y", "X" }) {
        drop(window, qr(QString::fromLatin1(text)));
        QTRY_COMPARE(shownText(window), QString::fromLatin1(text));
        click(window, "buttonSkip");
        QCOMPARE(shownText(window), QString());
    }
}

void ImportWindowTest::offersTheFirstOfSeveral()
{
    const QImage left = qr(u"left"_s);
    const QImage right = qr(u"right"_s);
    QImage both(left.width() + right.width() + 40, left.height() + 20, QImage::Format_RGB32);
    both.fill(Qt::white);
    QPainter painter(&both);
    painter.drawImage(10, 10, left);
    painter.drawImage(left.width() + 30, 10, right);
    painter.end();
    Program program;
    auto& window = openImport(program);
    drop(window, both);
    QTRY_VERIFY(!shownText(window).isEmpty());
    const QString offered = shownText(window);
    QVERIFY(offered == u"left"_s || offered == u"right"_s);
    click(window, "buttonSave");
    waitForExaminations();
    QCOMPARE(program.journal().captures().size(), 1);
    QCOMPARE(shownText(window), QString());
}

void ImportWindowTest::clearsTheOfferAtOnceOnADrop()
{
    Program program;
    auto& window = openImport(program);
    drop(window, qr(u"https://example.org/"_s));
    QTRY_COMPARE(enabledButtons(window), offeringLink);
    drop(window, support::plainPicture());
    QCOMPARE(shownText(window), QString());
    QCOMPARE(enabledButtons(window), waiting);
    QVERIFY(window.capturedImage().isNull());
}

void ImportWindowTest::staysWithAPictureWithoutCode()
{
    Program program;
    auto& window = openImport(program);
    drop(window, support::plainPicture());
    waitForExaminations();
    QCOMPARE(enabledButtons(window), waiting);
    QVERIFY(!isPromptVisible(window));
    QVERIFY(!imageWell(window)->image().isNull());
    QCOMPARE(window.captureState(), 0);
    QVERIFY(program.journal().captures().empty());
}

void ImportWindowTest::savesTheBitmapThatWasExamined()
{
    Program program;
    auto& window = openImport(program);
    const QImage picture = qr(u"keep me"_s);
    drop(window, picture);
    QTRY_COMPARE(enabledButtons(window), offering);
    QCOMPARE(window.capturedImage().size(), picture.size());
    click(window, "buttonSave");
    QVERIFY(imageWell(window)->image().isNull());
    QVERIFY(isPromptVisible(window));
    QCOMPARE(enabledButtons(window), waiting);
    QCOMPARE(window.captureState(), 0);
    QCOMPARE(window.captureData(), u"keep me"_s);
    QCOMPARE(program.journal().captures().size(), 1);
    const auto& kept = *program.journal().captures().front();
    QCOMPARE(kept.captureValue(), u"keep me"_s);
    QCOMPARE(kept.getImage().load().size(), picture.size());
    drop(window, picture);
    waitForExaminations();
    QCOMPARE(enabledButtons(window), waiting);
}

void ImportWindowTest::skipReturnsToWaiting()
{
    Program program;
    auto& window = openImport(program);
    drop(window, qr(u"skipped"_s));
    QTRY_COMPARE(enabledButtons(window), offering);
    click(window, "buttonSkip");
    QCOMPARE(enabledButtons(window), waiting);
    QVERIFY(imageWell(window)->image().isNull());
    QVERIFY(window.capturedImage().isNull());
    QVERIFY(isPromptVisible(window));
    QCOMPARE(window.captureState(), 0);
    QVERIFY(program.journal().captures().empty());
}

void ImportWindowTest::closeStoresNothing()
{
    Program program;
    auto& window = openImport(program);
    drop(window, qr(u"not kept"_s));
    QTRY_COMPARE(enabledButtons(window), offering);
    click(window, "buttonClose");
    // The window is hidden at once; the sheet ends in the next turn of the event loop.
    QVERIFY(!window.window()->isVisible());
    QVERIFY(platform::attachedSheet(program.journal().window()) != nullptr);
    QTRY_VERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
    QVERIFY(program.journal().captures().empty());
    QVERIFY(Program::pictures().isEmpty());
}

void ImportWindowTest::escapeCloses()
{
    Program program;
    auto& window = openImport(program);
    QTest::keyClick(window.window(), Qt::Key_Escape);
    QTRY_VERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
    QVERIFY(!window.window()->isVisible());
}

void ImportWindowTest::aNewSheetOffersTheCodeAgain()
{
    Program program;
    const QImage picture = qr(u"again"_s);
    drop(openImport(program), picture);
    QTRY_COMPARE(enabledButtons(*program.journal().importWindow()), offering);
    click(*program.journal().importWindow(), "buttonClose");
    QTRY_VERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
    auto& window = openImport(program);
    drop(window, picture);
    QTRY_COMPARE(shownText(window), u"again"_s);
}

void ImportWindowTest::survivesClosingDuringAnExamination()
{
    Program program;
    for (int i = 0; i < 5; ++i) {
        auto& window = openImport(program);
        drop(window, qr(QString::number(i)));
        click(window, "buttonClose");
        QTRY_VERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
    }
    waitForExaminations();
    QVERIFY(program.journal().captures().empty());
}

void ImportWindowTest::anEmptyWellOffersNothing()
{
    Program program;
    auto& window = openImport(program);
    window.setImage();
    waitForExaminations();
    QCOMPARE(enabledButtons(window), waiting);
    QCOMPARE(window.captureState(), 0);
}

void ImportWindowTest::theLaterOfTwoDropsWins()
{
    Program program;
    auto& window = openImport(program);
    drop(window, qr(u"one"_s));
    drop(window, qr(u"two"_s));
    waitForExaminations();
    QTRY_COMPARE(enabledButtons(window), offering);
    // Both are examined at the same time: the one accepted last is on offer.
    QCOMPARE(shownText(window), window.captureData().value());
    QVERIFY(program.journal().captures().empty());
}

void ImportWindowTest::readsPastedPictures()
{
    Program program;
    auto& window = openImport(program);
    QGuiApplication::clipboard()->setImage(qr(u"pasted"_s));
    imageWell(window)->setFocus();
    QTest::keyClick(imageWell(window), Qt::Key_V, Qt::ControlModifier);
    QTRY_COMPARE(shownText(window), u"pasted"_s);
}

VELLUMCAP_TEST(ImportWindowTest)
#include "tst_importwindow.moc"
