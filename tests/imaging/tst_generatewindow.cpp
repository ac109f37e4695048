#include "imaging/CodeBitmap.h"
#include "imaging/DragDropImageView.h"
#include "imaging/GenerateWindow.h"
#include "platform/barcode/QRCodeGenerator.h"
#include "platform/services/StandardFolders.h"
#include "platform/ui/Sheet.h"
#include "tests/support/Controls.h"
#include "tests/support/Program.h"
#include "tests/support/TestMain.h"

#include <QClipboard>
#include <QDrag>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QPushButton>
#include <QScrollBar>

using namespace Qt::StringLiterals;

using support::click;
using support::Program;
using vellumcap::DragDropImageView;
using vellumcap::GenerateWindow;

namespace {

/// The sheet on the journal of a new program, used by keys and clicks.
struct Sheet {
    Sheet()
    {
        program.journal().generate();
        window = program.journal().generateWindow();
    }

    platform::TextField* field() const
    {
        return support::control<platform::TextField>(*window, "textField");
    }
    DragDropImageView* well() const
    {
        return support::control<DragDropImageView>(*window, "imageWell");
    }

    void type(const QString& text) const { QTest::keyClicks(field(), text); }
    void press(int key, Qt::KeyboardModifiers modifiers = {}) const
    {
        QTest::keyClick(field(), static_cast<Qt::Key>(key), modifiers);
    }
    void paste(const QString& text) const
    {
        QGuiApplication::clipboard()->setText(text);
        field()->selectAll();
        field()->paste();
    }
    void generate() const { click(*window, "buttonGenerate"); }
    void save() const { click(*window, "buttonSave"); }
    void close() const { click(*window, "buttonClose"); }

    /// The names of the enabled controls.
    QString enabled() const
    {
        QStringList names;
        for (const char* name : { "buttonClose", "buttonGenerate", "buttonSave", "imageWell" }) {
            if (support::control<QWidget>(*window, name)->isEnabled()) {
                names.append(QString::fromLatin1(name));
            }
        }
        return names.join(u' ');
    }

    /// The message in the empty well.
    QString hint() const
    {
        const auto* label = support::control<QLabel>(*window, "labelWell");
        return label->isVisible() ? label->text() : QString();
    }

    Program program;
    GenerateWindow* window = nullptr;
};

const QString empty = u"buttonClose"_s;
const QString edited = u"buttonClose buttonGenerate"_s;
const QString generated = u"buttonClose buttonSave imageWell"_s;

QImage codeOf(const QByteArray& message)
{
    return vellumcap::codeBitmap(platform::QRCodeGenerator::outputImage(message));
}

} // namespace

class GenerateWindowTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void startsEmpty();
    void changesItsStates();
    void offersNothingForTheLastTextRetyped();
    void anotherTextAfterEmptyingIsOffered();
    void treatsUndoAsAnEdit();
    void returnDoesNotGenerate_data();
    void returnDoesNotGenerate();
    void shiftReturnBeginsALine();
    void fieldGrowsWithItsText();
    void encodesUtf8();
    void drawsGreyWithHardEdges_data();
    void drawsGreyWithHardEdges();
    void reportsHowManyBytesAreTooMany_data();
    void reportsHowManyBytesAreTooMany();
    void continuesAfterATooLongText();
    void savesTwice();
    void generatingAloneStoresNothing();
    void closeStoresNothing();
    void escapeCloses();
    void aNewSheetIsEmpty();
    void refusesDrops();
    void dragsTheCodeOut();
    void dragsNothingWhileThereIsNoCode();
};

void GenerateWindowTest::startsEmpty()
{
    const Sheet sheet;
    QCOMPARE(sheet.enabled(), empty);
    QVERIFY(!sheet.window->canSave());
    QVERIFY(!sheet.window->canGenerate());
    QCOMPARE(sheet.window->generatedData(), QString());
    QVERIFY(!sheet.window->generatedData().isNull());
    QVERIFY(sheet.window->generatedImage().isNull());
    QVERIFY(!sheet.well()->allowDrop());
    QVERIFY(sheet.well()->allowDrag());
    QCOMPARE(sheet.hint(), u"Type or paste a text above"_s);
    QTRY_VERIFY(sheet.field()->hasFocus()); // the user can type at once
}

void GenerateWindowTest::changesItsStates()
{
    const Sheet sheet;
    sheet.type(u"abc"_s);
    QCOMPARE(sheet.enabled(), edited);
    QVERIFY(sheet.well()->image().isNull());
    QCOMPARE(sheet.hint(), u"Press Generate to draw the code"_s);
    QCOMPARE(sheet.window->generatedData(), u"abc"_s);

    QTest::ignoreMessage(QtInfoMsg, "Generate");
    sheet.generate();
    QCOMPARE(sheet.enabled(), generated);
    QCOMPARE(sheet.hint(), QString());
    QCOMPARE(sheet.well()->image(), codeOf("abc"));
    QCOMPARE(sheet.window->generatedImage(), codeOf("abc"));

    sheet.type(u"d"_s);
    QCOMPARE(sheet.enabled(), edited);
    QVERIFY(sheet.well()->image().isNull());
    sheet.generate();
    QCOMPARE(sheet.enabled(), generated);
    QCOMPARE(sheet.well()->image(), codeOf("abcd"));

    sheet.paste(QString());
    sheet.field()->clear();
    QCOMPARE(sheet.enabled(), empty);
    QVERIFY(sheet.well()->image().isNull());
    QCOMPARE(sheet.window->generatedData(), u"abcd"_s);
}

void GenerateWindowTest::offersNothingForTheLastTextRetyped()
{
    const Sheet sheet;
    sheet.type(u"x"_s);
    QCOMPARE(sheet.enabled(), edited);
    sheet.press(Qt::Key_Backspace);
    QCOMPARE(sheet.enabled(), empty);
    sheet.type(u"x"_s);
    QCOMPARE(sheet.enabled(), empty);
    QVERIFY(!sheet.window->canGenerate());
    sheet.type(u"y"_s);
    QCOMPARE(sheet.enabled(), edited);
    sheet.generate();
    QCOMPARE(sheet.well()->image(), codeOf("xy"));
}

void GenerateWindowTest::anotherTextAfterEmptyingIsOffered()
{
    const Sheet sheet;
    sheet.type(u"x"_s);
    sheet.generate();
    sheet.press(Qt::Key_Backspace);
    QCOMPARE(sheet.enabled(), empty);
    sheet.type(u"z"_s);
    QCOMPARE(sheet.enabled(), edited);
}

void GenerateWindowTest::treatsUndoAsAnEdit()
{
    const Sheet sheet;
    sheet.paste(u"one"_s);
    sheet.paste(u"two"_s);
    sheet.generate();
    QCOMPARE(sheet.enabled(), generated);
    sheet.field()->undo();
    QCOMPARE(sheet.enabled(), sheet.field()->stringValue().isEmpty() ? empty : edited);
    QVERIFY(sheet.well()->image().isNull());
}

void GenerateWindowTest::returnDoesNotGenerate_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("Return") << static_cast<int>(Qt::Key_Return);
    QTest::newRow("Enter") << static_cast<int>(Qt::Key_Enter);
}

void GenerateWindowTest::returnDoesNotGenerate()
{
    QFETCH(int, key);
    const Sheet sheet;
    sheet.type(u"abc"_s);
    sheet.press(key, key == Qt::Key_Enter ? Qt::KeypadModifier : Qt::NoModifier);
    QCOMPARE(sheet.enabled(), edited);
    QVERIFY(sheet.well()->image().isNull());
    QCOMPARE(sheet.field()->stringValue(), u"abc"_s);
    QVERIFY(sheet.window->window()->isVisible());
    sheet.window->setText();
    QCOMPARE(sheet.enabled(), edited);
}

void GenerateWindowTest::shiftReturnBeginsALine()
{
    const Sheet sheet;
    sheet.type(u"a"_s);
    sheet.press(Qt::Key_Return, Qt::ShiftModifier);
    sheet.type(u"b"_s);
    sheet.generate();
    QCOMPARE(sheet.window->generatedData(), u"a\nb"_s);
    QCOMPARE(sheet.well()->image(), codeOf("a\nb"));
}

void GenerateWindowTest::fieldGrowsWithItsText()
{
    const Sheet sheet;
    const auto* field = sheet.field();
    const int before = field->height();
    sheet.paste(u"words that wrap "_s.repeated(20));
    QTRY_VERIFY(field->height() > before + field->fontMetrics().lineSpacing());
    QCOMPARE(field->verticalScrollBar()->value(), 0);
}

void GenerateWindowTest::encodesUtf8()
{
    const Sheet sheet;
    const QString text = QString::fromUtf8("Grüße, 漢字 \U0001F600\nзавтра");
    sheet.paste(text);
    sheet.generate();
    QCOMPARE(sheet.window->generatedData(), text);
    QCOMPARE(sheet.well()->image(), codeOf(text.toUtf8()));
}

void GenerateWindowTest::drawsGreyWithHardEdges_data()
{
    QTest::addColumn<int>("bytes");
    QTest::addColumn<int>("side");
    QTest::newRow("version 1, 23 modules") << 14 << 1024;
    QTest::newRow("version 2, 27 modules") << 15 << 1024;
    QTest::newRow("version 21, 103 modules") << 711 << 1023;
    QTest::newRow("version 22, 107 modules") << 712 << 1023;
    QTest::newRow("version 40, 179 modules") << 2331 << 1024;
}

void GenerateWindowTest::drawsGreyWithHardEdges()
{
    QFETCH(int, bytes);
    QFETCH(int, side);
    const Sheet sheet;
    sheet.paste(QString(bytes, u'q'));
    sheet.generate();
    const QImage image = sheet.window->generatedImage();
    QCOMPARE(image.format(), QImage::Format_Grayscale8);
    QCOMPARE(image.size(), QSize(side, side));
    QCOMPARE(sheet.well()->image().size(), QSize(side, side));
    for (int y = 0; y < side; ++y) {
        const uchar* line = image.constScanLine(y);
        QVERIFY(
            std::all_of(line, line + side, [](uchar grey) { return grey == 0 || grey == 255; }));
    }
}

void GenerateWindowTest::reportsHowManyBytesAreTooMany_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("excess");
    QTest::newRow("one") << QString(2332, u'q') << u"1 byte "_s;
    QTest::newRow("some") << QString(2400, u'q') << u"69 bytes "_s;
    QTest::newRow("many") << QString(5000, u'q') << u"2,669 bytes "_s;
    QTest::newRow("in UTF-8") << QString(778, QChar(0x6f22)) << u"3 bytes "_s;
}

void GenerateWindowTest::reportsHowManyBytesAreTooMany()
{
    QFETCH(QString, text);
    QFETCH(QString, excess);
    Sheet sheet;
    sheet.paste(text);
    QCOMPARE(sheet.enabled(), edited);
    sheet.generate();
    QCOMPARE(sheet.enabled(), empty);
    QVERIFY(sheet.well()->image().isNull());
    QVERIFY(sheet.window->generatedImage().isNull());
    QVERIFY2(sheet.hint().contains(excess), qPrintable(sheet.hint()));
    QVERIFY(sheet.program.journal().captures().empty());
}

void GenerateWindowTest::continuesAfterATooLongText()
{
    const Sheet sheet;
    sheet.paste(QString(2332, u'q'));
    sheet.generate();
    sheet.field()->moveCursor(QTextCursor::End);
    sheet.press(Qt::Key_Backspace);
    QCOMPARE(sheet.enabled(), edited);
    QCOMPARE(sheet.hint(), u"Press Generate to draw the code"_s);
    sheet.generate();
    QCOMPARE(sheet.enabled(), generated);
    QCOMPARE(sheet.well()->image(), codeOf(QByteArray(2331, 'q')));
}

void GenerateWindowTest::savesTwice()
{
    Sheet sheet;
    sheet.type(u"https://example.org/"_s);
    sheet.generate();
    sheet.save();
    QCOMPARE(sheet.enabled(), generated);
    QCOMPARE(sheet.program.journal().captures().size(), 1);
    sheet.save();
    QCOMPARE(sheet.enabled(), generated);
    const auto& captures = sheet.program.journal().captures();
    QCOMPARE(captures.size(), 2);
    QCOMPARE(Program::pictures().size(), 2);
    for (const auto& capture : captures) {
        QCOMPARE(capture->captureValue(), u"https://example.org/"_s);
        QVERIFY(capture->isURLValue());
        QCOMPARE(capture->getImage().load().size(), QSize(1024, 1024));
    }
    QCOMPARE(captures[0]->getImage().load(), captures[1]->getImage().load());
    QVERIFY(captures[0]->captureImageKey() != captures[1]->captureImageKey());
}

void GenerateWindowTest::generatingAloneStoresNothing()
{
    Sheet sheet;
    sheet.type(u"abc"_s);
    sheet.generate();
    QVERIFY(sheet.program.journal().captures().empty());
    QVERIFY(Program::pictures().isEmpty());
}

void GenerateWindowTest::closeStoresNothing()
{
    Sheet sheet;
    sheet.type(u"abc"_s);
    sheet.generate();
    sheet.close();
    // The window is hidden at once; the sheet ends in the next turn of the event loop.
    QVERIFY(!sheet.window->window()->isVisible());
    QVERIFY(platform::attachedSheet(sheet.program.journal().window()) != nullptr);
    QTRY_VERIFY(platform::attachedSheet(sheet.program.journal().window()) == nullptr);
    QVERIFY(sheet.program.journal().captures().empty());
}

void GenerateWindowTest::escapeCloses()
{
    Sheet sheet;
    sheet.press(Qt::Key_Escape);
    QTRY_VERIFY(platform::attachedSheet(sheet.program.journal().window()) == nullptr);
    QVERIFY(!sheet.window->window()->isVisible());
}

void GenerateWindowTest::aNewSheetIsEmpty()
{
    Sheet sheet;
    sheet.type(u"abc"_s);
    sheet.generate();
    sheet.close();
    QTRY_VERIFY(platform::attachedSheet(sheet.program.journal().window()) == nullptr);
    sheet.program.journal().generate();
    sheet.window = sheet.program.journal().generateWindow();
    QCOMPARE(sheet.enabled(), empty);
    QCOMPARE(sheet.field()->stringValue(), QString());
    sheet.type(u"abc"_s);
    QCOMPARE(sheet.enabled(), edited);
}

void GenerateWindowTest::refusesDrops()
{
    const Sheet sheet;
    sheet.type(u"abc"_s);
    sheet.generate();
    QMimeData data;
    data.setImageData(support::plainPicture());
    QDragEnterEvent event({ 20, 20 }, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(sheet.well(), &event);
    QVERIFY(!event.isAccepted());
    QVERIFY(!sheet.well()->isHighlighted());
}

void GenerateWindowTest::dragsTheCodeOut()
{
    const Sheet sheet;
    sheet.type(u"abc"_s);
    sheet.generate();
    QTest::mousePress(sheet.well(), Qt::LeftButton);
    const auto* drag = qApp->findChild<QDrag*>();
    QVERIFY(drag != nullptr);
    const QString path = drag->mimeData()->urls().value(0).toLocalFile();
    QCOMPARE(path, platform::StandardFolders::caches() + u"/capture.png"_s);
    const QImage file(path);
    QCOMPARE(file.convertToFormat(QImage::Format_Grayscale8), codeOf("abc"));
    QCOMPARE(sheet.enabled(), generated);
}

void GenerateWindowTest::dragsNothingWhileThereIsNoCode()
{
    const Sheet sheet;
    sheet.type(u"abc"_s);
    QTest::mousePress(sheet.well(), Qt::LeftButton);
    QVERIFY(qApp->findChild<QDrag*>() == nullptr);
}

VELLUMCAP_TEST(GenerateWindowTest)
#include "tst_generatewindow.moc"
