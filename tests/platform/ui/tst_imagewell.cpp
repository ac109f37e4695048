#include "platform/ui/ImageWell.h"
#include "tests/support/TemporaryFiles.h"
#include "tests/support/TestMain.h"

#include <QAccessible>
#include <QClipboard>
#include <QDir>
#include <QDropEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>

#include <memory>

using namespace Qt::StringLiterals;

using platform::ImageWell;
using support::plainPicture;

namespace {

using MimeData = std::unique_ptr<QMimeData>;

MimeData files(const QStringList& paths)
{
    auto data = std::make_unique<QMimeData>();
    QList<QUrl> urls;
    for (const QString& path : paths) {
        urls.append(QUrl::fromLocalFile(path));
    }
    data->setUrls(urls);
    return data;
}

MimeData text(const QString& value)
{
    auto data = std::make_unique<QMimeData>();
    data->setText(value);
    return data;
}

MimeData pictureData(const QString& format, const QByteArray& bytes)
{
    auto data = std::make_unique<QMimeData>();
    data->setData(format, bytes);
    return data;
}

bool dragOver(ImageWell& well, const QMimeData& data,
    Qt::DropActions offered = Qt::CopyAction | Qt::MoveAction)
{
    QDragEnterEvent event({ 20, 20 }, offered, &data, Qt::LeftButton, {});
    event.ignore();
    QApplication::sendEvent(&well, &event);
    return event.isAccepted();
}

/// Drags over the well and drops there; false when the well refuses the drag.
bool drop(ImageWell& well, const QMimeData& data)
{
    if (!dragOver(well, data)) {
        return false;
    }
    QDropEvent event({ 20, 20 }, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(&well, &event);
    return event.isAccepted() && event.dropAction() == Qt::CopyAction;
}

void pressPaste(ImageWell& well)
{
    QTest::keyClick(&well, Qt::Key_V, Qt::ControlModifier);
}

/// Copies the data to the clipboard and pastes it by the key.
void paste(ImageWell& well, MimeData data)
{
    QGuiApplication::clipboard()->setMimeData(data.release());
    pressPaste(well);
}

/// Whether the caption is drawn: the middle of its lower edge has the colour of its background.
bool showsCaption(ImageWell& well)
{
    well.resize(360, 280);
    const QColor drawn = well.grab().toImage().pixelColor(180, 280 - 16 - 3);
    return drawn == well.palette().color(QPalette::Base);
}

const QString unreadable = u"This is not a picture that can be read"_s;

} // namespace

class ImageWellTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void startsEmpty();
    void settingAnImageIsNoAction();
    void takesADroppedFile();
    void takesTheFirstReadableFile();
    void takesDroppedData_data();
    void takesDroppedData();
    void takesAPathAsText_data();
    void takesAPathAsText();
    void refusesDrags_data();
    void refusesDrags();
    void refusesToMoveOrLink();
    void showsTheDragThatHovers();
    void pastesByKey();
    void pasteOfTextIsRefused();
    void unreadableFileIsRefused();
    void tooLargeFileIsRefused();
    void truncatedJpegIsAccepted();
    void emptyJpegIsRefused();
    void animationGivesItsFirstFrame();
    void largeFileIsReadInTheBackground();
    void laterDropReplacesAnEarlierOne();
    void settingAnImageStopsTheReading();
    void wellMayBeDestroyedDuringReading();
    void choosesAFile();
    void doubleClickOpensTheChooser();
    void smallPicturesAreSharp();
    void isAButtonForScreenReaders();

private:
    /// Waits until another well has read the large file, so probably every well that began
    /// earlier has too.
    bool hasSlowFileBeenRead() const
    {
        ImageWell other;
        return drop(other, *files({ m_slow }))
            && QTest::qWaitFor([&other] { return !other.image().isNull(); }, support::patience);
    }

    support::TemporaryFiles m_files;
    QString m_red;
    QString m_text;
    QString m_slow;
};

void ImageWellTest::initTestCase()
{
    m_red = m_files.add(
        u"red picture.data"_s, support::encoded(plainPicture({ 30, 20 }, Qt::red), "PNG"));
    m_text = m_files.add(u"text.png"_s, "no picture at all");
    const QByteArray large = support::encoded(support::noisePicture({ 1500, 1200 }), "PNG");
    QVERIFY(large.size() > 4 * 1024 * 1024);
    m_slow = m_files.add(u"slow.png"_s, large);
}

void ImageWellTest::startsEmpty()
{
    ImageWell well;
    QVERIFY(well.image().isNull());
    QVERIFY(well.refusal().isEmpty());
    QVERIFY(!showsCaption(well));
}

void ImageWellTest::settingAnImageIsNoAction()
{
    ImageWell well;
    const QSignalSpy placed(&well, &ImageWell::imagePlaced);
    well.setImage(plainPicture({ 4, 4 }, Qt::green));
    QCOMPARE(well.image().size(), QSize(4, 4));
    well.setImage({});
    QVERIFY(well.image().isNull());
    QCOMPARE(placed.count(), 0);
}

void ImageWellTest::takesADroppedFile()
{
    ImageWell well;
    QImage held;
    connect(&well, &ImageWell::imagePlaced, this, [&] { held = well.image(); });
    QVERIFY(drop(well, *files({ m_red })));
    QCOMPARE(held.size(), QSize(30, 20)); // already there when the signal is emitted
    QCOMPARE(held.pixelColor(0, 0), QColor(Qt::red));
}

void ImageWellTest::takesTheFirstReadableFile()
{
    ImageWell well;
    QVERIFY(drop(well, *files({ m_text, m_files.folder(), m_red, m_slow })));
    QCOMPARE(well.image().size(), QSize(30, 20));
}

void ImageWellTest::takesDroppedData_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QByteArray>("encoding");
    QTest::newRow("png") << u"image/png"_s << QByteArrayLiteral("PNG");
    QTest::newRow("jpeg") << u"image/jpeg"_s << QByteArrayLiteral("JPEG");
    QTest::newRow("bmp") << u"image/bmp"_s << QByteArrayLiteral("BMP");
}

void ImageWellTest::takesDroppedData()
{
    QFETCH(const QString, format);
    QFETCH(const QByteArray, encoding);
    ImageWell well;
    const QSignalSpy placed(&well, &ImageWell::imagePlaced);
    const QByteArray bytes = support::encoded(plainPicture({ 16, 8 }, Qt::blue), encoding.data());
    QVERIFY(drop(well, *pictureData(format, bytes)));
    QCOMPARE(well.image().size(), QSize(16, 8));

    QMimeData data;
    data.setImageData(plainPicture({ 9, 9 }, Qt::blue));
    QVERIFY(drop(well, data));
    QCOMPARE(well.image().size(), QSize(9, 9));
    QCOMPARE(placed.count(), 2);
}

void ImageWellTest::takesAPathAsText_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::newRow("absolute") << u"%1"_s;
    QTest::newRow("with blanks around") << u"  %1\n"_s;
    QTest::newRow("URL") << u"file://%1"_s;
    QTest::newRow("home") << u"~/%2"_s;
}

void ImageWellTest::takesAPathAsText()
{
    QFETCH(const QString, pattern);
    const QString name = u"home picture.png"_s;
    const QString path = QDir::home().filePath(name);
    support::writeFile(path, support::encoded(plainPicture({ 12, 3 }, Qt::red), "PNG"));
    ImageWell well;
    paste(well, text(pattern.contains(QLatin1String("%1")) ? pattern.arg(path) : u"~/"_s + name));
    QCOMPARE(well.image().size(), QSize(12, 3));
}

void ImageWellTest::refusesDrags_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("text") << u"text"_s;
    QTest::newRow("a link") << u"link"_s;
    QTest::newRow("a folder") << u"folder"_s;
    QTest::newRow("a text file named like a picture") << u"text file"_s;
    QTest::newRow("a missing file") << u"missing"_s;
    QTest::newRow("unknown data") << u"unknown"_s;
}

void ImageWellTest::refusesDrags()
{
    QFETCH(const QString, kind);
    std::map<QString, MimeData> offers;
    offers[u"text"_s] = text(u"hello"_s);
    offers[u"link"_s] = std::make_unique<QMimeData>();
    offers[u"link"_s]->setUrls({ QUrl(u"https://example.org/picture.png"_s) });
    offers[u"folder"_s] = files({ m_files.folder() });
    offers[u"text file"_s] = files({ m_text });
    offers[u"missing"_s] = files({ m_files.path(u"none.png"_s) });
    offers[u"unknown"_s] = pictureData(u"application/x-unknown"_s, QByteArrayLiteral("data"));
    ImageWell well;
    QVERIFY(!dragOver(well, *offers.at(kind)));
    QVERIFY(well.refusal().isEmpty());
}

void ImageWellTest::refusesToMoveOrLink()
{
    ImageWell well;
    QMimeData data;
    data.setImageData(QImage(8, 8, QImage::Format_RGB32));
    QVERIFY(!dragOver(well, data, Qt::MoveAction));
    QVERIFY(!dragOver(well, data, Qt::LinkAction));
    QVERIFY(!dragOver(well, data, Qt::MoveAction | Qt::LinkAction));
    QVERIFY(dragOver(well, data, Qt::CopyAction | Qt::LinkAction));
}

void ImageWellTest::showsTheDragThatHovers()
{
    ImageWell well;
    well.resize(200, 200);
    const QColor before = well.grab().toImage().pixelColor(100, 100);
    const MimeData data = files({ m_red });
    QVERIFY(dragOver(well, *data));
    QVERIFY(well.grab().toImage().pixelColor(100, 100) != before);
    QDragLeaveEvent leave;
    QApplication::sendEvent(&well, &leave);
    QCOMPARE(well.grab().toImage().pixelColor(100, 100), before);
}

void ImageWellTest::pastesByKey()
{
    ImageWell well;
    const QSignalSpy placed(&well, &ImageWell::imagePlaced);
    auto picture = std::make_unique<QMimeData>();
    picture->setImageData(plainPicture({ 6, 5 }, Qt::red));
    paste(well, std::move(picture));
    QCOMPARE(well.image().size(), QSize(6, 5));
    paste(well, files({ m_red }));
    QCOMPARE(well.image().size(), QSize(30, 20));
    QCOMPARE(placed.count(), 2);
}

void ImageWellTest::pasteOfTextIsRefused()
{
    ImageWell well;
    well.setImage(plainPicture({ 4, 4 }, Qt::green));
    const QSignalSpy placed(&well, &ImageWell::imagePlaced);
    paste(well, text(u"<b>hello</b>"_s));
    QCOMPARE(well.refusal(), unreadable);
    QVERIFY(showsCaption(well));
    QCOMPARE(well.image().size(), QSize(4, 4));
    QCOMPARE(placed.count(), 0);
    well.setImage({});
    QVERIFY(well.refusal().isEmpty());
    QGuiApplication::clipboard()->clear();
    pressPaste(well);
    QVERIFY(well.refusal().isEmpty());
}

void ImageWellTest::unreadableFileIsRefused()
{
    ImageWell well;
    QVERIFY(drop(well, *files({ m_red })));
    const QSignalSpy placed(&well, &ImageWell::imagePlaced);
    QByteArray broken = support::encoded(support::noisePicture({ 60, 60 }), "PNG");
    broken.truncate(60);
    const QString path = m_files.add(u"broken.png"_s, broken);
    QVERIFY(drop(well, *files({ path })));
    QCOMPARE(well.refusal(), unreadable);
    QCOMPARE(well.image().size(), QSize(30, 20));
    QCOMPARE(placed.count(), 0);
    QVERIFY(drop(well, *files({ m_red })));
    QVERIFY(well.refusal().isEmpty());
    QCOMPARE(placed.count(), 1);
}

void ImageWellTest::tooLargeFileIsRefused()
{
    const QString path = m_files.add(u"huge.png"_s, support::tooLargePng());
    ImageWell well;
    const QSignalSpy placed(&well, &ImageWell::imagePlaced);
    QVERIFY(drop(well, *files({ path })));
    QTRY_COMPARE(well.refusal(), u"This picture is too large: 20,000 × 20,000 pixels"_s);
    QVERIFY(well.image().isNull());
    QCOMPARE(placed.count(), 0);
}

void ImageWellTest::truncatedJpegIsAccepted()
{
    QByteArray jpeg = support::encoded(support::noisePicture({ 200, 200 }), "JPEG");
    jpeg.truncate(jpeg.size() / 2);
    ImageWell well;
    QVERIFY(drop(well, *files({ m_files.add(u"half.jpg"_s, jpeg) })));
    QCOMPARE(well.image().size(), QSize(200, 200));
    QVERIFY(well.refusal().isEmpty());
}

void ImageWellTest::emptyJpegIsRefused()
{
    QByteArray jpeg = support::encoded(support::noisePicture({ 200, 200 }), "JPEG");
    jpeg.truncate(100);
    ImageWell well;
    QVERIFY(drop(well, *files({ m_files.add(u"head.jpg"_s, jpeg) })));
    QVERIFY(well.image().isNull());
    QCOMPARE(well.refusal(), unreadable);
}

void ImageWellTest::animationGivesItsFirstFrame()
{
    ImageWell well;
    QVERIFY(drop(well, *files({ m_files.add(u"two.gif"_s, support::animatedGif()) })));
    QCOMPARE(well.image().size(), QSize(2, 2));
    QCOMPARE(well.image().pixelColor(1, 1), QColor(Qt::red));
}

void ImageWellTest::largeFileIsReadInTheBackground()
{
    ImageWell well;
    const QSignalSpy placed(&well, &ImageWell::imagePlaced);
    QVERIFY(drop(well, *files({ m_slow })));
    QVERIFY(showsCaption(well));
    QVERIFY(well.image().isNull());
    QCOMPARE(placed.count(), 0);
    QTRY_COMPARE(placed.count(), 1);
    QCOMPARE(well.image().size(), QSize(1500, 1200));
    QVERIFY(!showsCaption(well));
}

void ImageWellTest::laterDropReplacesAnEarlierOne()
{
    ImageWell well;
    const QSignalSpy placed(&well, &ImageWell::imagePlaced);
    QVERIFY(drop(well, *files({ m_slow })));
    QVERIFY(drop(well, *files({ m_red })));
    QVERIFY(hasSlowFileBeenRead());
    QCOMPARE(well.image().size(), QSize(30, 20));
    QCOMPARE(placed.count(), 1);
}

void ImageWellTest::settingAnImageStopsTheReading()
{
    ImageWell well;
    const QSignalSpy placed(&well, &ImageWell::imagePlaced);
    QVERIFY(drop(well, *files({ m_slow })));
    well.setImage({});
    QVERIFY(!showsCaption(well));
    QVERIFY(hasSlowFileBeenRead());
    QVERIFY(well.image().isNull());
    QCOMPARE(placed.count(), 0);
}

void ImageWellTest::wellMayBeDestroyedDuringReading()
{
    auto well = std::make_unique<ImageWell>();
    QVERIFY(drop(*well, *files({ m_slow })));
    well.reset();
    QVERIFY(hasSlowFileBeenRead());
}

void ImageWellTest::choosesAFile()
{
    ImageWell well;
    well.show();
    const QSignalSpy placed(&well, &ImageWell::imagePlaced);
    QTest::keyClick(&well, Qt::Key_Return);
    QTest::keyClick(&well, Qt::Key_Space); // opens no second dialog
    QCOMPARE(well.findChildren<QFileDialog*>().size(), 1);
    auto* dialog = well.findChild<QFileDialog*>();
    QVERIFY(dialog->isVisible());
    QCOMPARE(dialog->windowModality(), Qt::WindowModal);
    auto* name = dialog->findChild<QLineEdit*>(u"fileNameEdit"_s);
    name->setText(m_red);
    QTest::keyClick(name, Qt::Key_Return);
    QTRY_COMPARE(placed.count(), 1);
    QCOMPARE(well.image().size(), QSize(30, 20));
    QTRY_VERIFY(well.findChild<QFileDialog*>() == nullptr);
}

void ImageWellTest::doubleClickOpensTheChooser()
{
    ImageWell well;
    well.show();
    QTest::mouseDClick(&well, Qt::LeftButton);
    auto* dialog = well.findChild<QFileDialog*>();
    QVERIFY(dialog != nullptr);
    dialog->reject();
    QTRY_VERIFY(well.findChild<QFileDialog*>() == nullptr);
    QVERIFY(well.image().isNull());
}

void ImageWellTest::smallPicturesAreSharp()
{
    QImage image = plainPicture({ 2, 1 }, Qt::black);
    image.setPixelColor(1, 0, Qt::white);
    ImageWell well;
    well.resize(100, 100);
    well.setImage(image);
    const QImage screen = well.grab().toImage();
    // A pixel is enlarged to 8 pixels at most.
    QCOMPARE(screen.pixelColor(43, 50), QColor(Qt::black));
    QCOMPARE(screen.pixelColor(49, 50), QColor(Qt::black));
    QCOMPARE(screen.pixelColor(50, 50), QColor(Qt::white));
    QCOMPARE(screen.pixelColor(57, 50), QColor(Qt::white));
    QVERIFY(screen.pixelColor(40, 50) != QColor(Qt::black));
    QVERIFY(screen.pixelColor(60, 50) != QColor(Qt::white));
}

void ImageWellTest::isAButtonForScreenReaders()
{
    ImageWell well;
    well.show();
    QAccessibleInterface* button = QAccessible::queryAccessibleInterface(&well);
    QCOMPARE(button->role(), QAccessible::Button);
    QVERIFY(!button->text(QAccessible::Name).isEmpty());
    QVERIFY(!button->text(QAccessible::Description).isEmpty());
    QVERIFY(button->state().focusable);
    paste(well, text(u"hello"_s));
    QCOMPARE(button->text(QAccessible::Description), unreadable);
    const QString press = QAccessibleActionInterface::pressAction();
    QVERIFY(button->actionInterface()->actionNames().contains(press));
    button->actionInterface()->doAction(press);
    auto* dialog = well.findChild<QFileDialog*>();
    QVERIFY(dialog != nullptr);
    dialog->reject();
}

VELLUMCAP_TEST(ImageWellTest)
#include "tst_imagewell.moc"
