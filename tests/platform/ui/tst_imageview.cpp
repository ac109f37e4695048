#include "platform/ui/ImageView.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QAccessible>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QWheelEvent>

using Qt::StringLiterals::operator""_s;

using platform::ImageFile;
using platform::ImageView;
using support::plainPicture;

class ImageViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void loadsByContent();
    void loadTurnsAsTheMetadataSay();
    void loadIsNullWithoutAPicture();
    void showsThePictureWhole_data();
    void showsThePictureWhole();
    void fitFollowsTheSize();
    void keysZoom();
    void zoomIsBounded();
    void wheelZoomsAroundThePointer();
    void plainWheelAndKeysPan();
    void dragPans();
    void doubleClickTogglesFit();
    void smallPicturesAreSharp();
    void largePicturesAreSmooth();
    void fileIsReadInTheBackground();
    void missingFileIsEmpty();
    void lateFilesAreIgnored();
    void viewMayGoWhileAFileIsRead();
    void emptyViewIgnoresEverything();
    void isAGraphicForScreenReaders();

private:
    QString fileNamed(const QString& name, const QByteArray& content) const
    {
        support::writeFile(m_folder.filePath(name), content);
        return m_folder.filePath(name);
    }

    QTemporaryDir m_folder;
};

namespace {

void wheel(ImageView& view, QPointF at, int turn, Qt::KeyboardModifiers modifiers)
{
    QWheelEvent event(at, view.mapToGlobal(at), {}, { 0, turn }, Qt::NoButton, modifiers,
        Qt::NoScrollPhase, false);
    QApplication::sendEvent(&view, &event);
}

/// The picture's point (in its pixels) that is under a point of the view.
QPointF pointUnder(const ImageView& view, QPointF at)
{
    return (at - view.imageRect().topLeft()) / view.zoomFactor();
}

} // namespace

void ImageViewTest::loadsByContent()
{
    const QByteArray png = support::encoded(plainPicture({ 3, 2 }, Qt::green), "PNG");
    const ImageFile file{ fileNamed(u"wrong.jpg"_s, png) };
    QCOMPARE(file.load().size(), QSize(3, 2));
    QCOMPARE(file.load().pixelColor(0, 0), QColor(Qt::green));
}

void ImageViewTest::loadTurnsAsTheMetadataSay()
{
    QImage image = plainPicture({ 40, 20 }, Qt::white);
    image.fill(Qt::white);
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 20; ++x) {
            image.setPixelColor(x, y, Qt::black); // the left half
        }
    }
    const ImageFile file{ fileNamed(u"turned.jpg"_s, support::turnedJpeg(image)) };
    const QImage loaded = file.load();
    QCOMPARE(loaded.size(), QSize(20, 40));
    QVERIFY(loaded.pixelColor(10, 5).lightness() < 40);
    QVERIFY(loaded.pixelColor(10, 35).lightness() > 215);
}

void ImageViewTest::loadIsNullWithoutAPicture()
{
    QVERIFY(ImageFile{}.load().isNull());
    QVERIFY(ImageFile{ m_folder.filePath(u"missing.png"_s) }.load().isNull());
    QVERIFY(ImageFile{ m_folder.path() }.load().isNull());
    QVERIFY(ImageFile{ fileNamed(u"text.png"_s, "no picture") }.load().isNull());
}

void ImageViewTest::showsThePictureWhole_data()
{
    QTest::addColumn<QSize>("picture");
    QTest::addColumn<double>("zoom");
    // The view is 424 x 224, of which 12 on each side stay free.
    QTest::newRow("wide") << QSize(800, 100) << 0.5;
    QTest::newRow("high") << QSize(100, 800) << 0.25;
    QTest::newRow("exact") << QSize(400, 200) << 1.0;
    QTest::newRow("small") << QSize(100, 100) << 2.0;
    QTest::newRow("tiny") << QSize(5, 5) << 8.0;
}

void ImageViewTest::showsThePictureWhole()
{
    QFETCH(const QSize, picture);
    ImageView view;
    view.resize(424, 224);
    view.setImage(plainPicture(picture, Qt::red));
    QTEST(view.zoomFactor(), "zoom");
    QVERIFY(view.fitsWindow());
    QVERIFY(QRectF(view.rect()).contains(view.imageRect()));
    QVERIFY((view.imageRect().center() - QRectF(view.rect()).center()).manhattanLength() <= 1);
    const QImage screen = view.grab().toImage();
    QCOMPARE(screen.pixelColor(212, 112), QColor(Qt::red));
    QVERIFY(screen.pixelColor(6, 112) != QColor(Qt::red));
}

void ImageViewTest::fitFollowsTheSize()
{
    ImageView view;
    view.resize(224, 224);
    view.setImage(plainPicture({ 400, 400 }, Qt::red));
    view.show();
    QCOMPARE(view.zoomFactor(), 0.5);
    view.resize(424, 424);
    QTRY_COMPARE(view.zoomFactor(), 1.0);
    view.setZoomFactor(2);
    view.resize(224, 224);
    QCOMPARE(view.zoomFactor(), 2.0);
    view.setImage(plainPicture({ 400, 400 }, Qt::blue)); // whole again
    QCOMPARE(view.zoomFactor(), 0.5);
}

void ImageViewTest::keysZoom()
{
    ImageView view;
    view.resize(224, 224);
    view.setImage(plainPicture({ 400, 400 }, Qt::red));
    QTest::keyClick(&view, Qt::Key_Plus);
    QCOMPARE(view.zoomFactor(), 0.625);
    QVERIFY(!view.fitsWindow());
    QTest::keyClick(&view, Qt::Key_Minus);
    QCOMPARE(view.zoomFactor(), 0.5);
    QTest::keyClick(&view, Qt::Key_1);
    QCOMPARE(view.zoomFactor(), 1.0);
    QTest::keyClick(&view, Qt::Key_0);
    QCOMPARE(view.zoomFactor(), 0.5);
    QVERIFY(view.fitsWindow());
}

void ImageViewTest::zoomIsBounded()
{
    ImageView view;
    view.resize(224, 224);
    view.setImage(plainPicture({ 400, 400 }, Qt::red));
    view.setZoomFactor(1000);
    QCOMPARE(view.zoomFactor(), 8.0);
    view.setZoomFactor(0.001);
    QCOMPARE(view.zoomFactor(), 0.5);
    view.setImage(plainPicture({ 20, 20 }, Qt::red));
    view.setZoomFactor(0.001);
    QCOMPARE(view.zoomFactor(), 1.0);
}

void ImageViewTest::wheelZoomsAroundThePointer()
{
    ImageView view;
    view.resize(224, 224);
    view.setImage(plainPicture({ 400, 400 }, Qt::red));
    view.setZoomFactor(2);
    const QPointF at(60, 150);
    const QPointF before = pointUnder(view, at);
    wheel(view, at, 120, Qt::ControlModifier);
    QCOMPARE(view.zoomFactor(), 2.5);
    QVERIFY((pointUnder(view, at) - before).manhattanLength() < 1);
    wheel(view, at, -120, Qt::ControlModifier);
    QCOMPARE(view.zoomFactor(), 2.0);
}

void ImageViewTest::plainWheelAndKeysPan()
{
    ImageView view;
    view.resize(224, 224);
    view.setImage(plainPicture({ 400, 400 }, Qt::red));
    view.setZoomFactor(1);
    const QRectF middle = view.imageRect();
    wheel(view, { 100, 100 }, -120, Qt::NoModifier);
    QCOMPARE(view.imageRect().top(), middle.top() - 48);
    QTest::keyClick(&view, Qt::Key_Up);
    QCOMPARE(view.imageRect(), middle);
    QTest::keyClick(&view, Qt::Key_Right);
    QCOMPARE(view.imageRect().left(), middle.left() - 48);
    for (int press = 0; press < 20; ++press) {
        QTest::keyClick(&view, Qt::Key_Left);
        QTest::keyClick(&view, Qt::Key_Down);
    }
    QCOMPARE(view.imageRect().left(), 12.0); // no further than the picture reaches
    QCOMPARE(view.imageRect().bottom(), 212.0);
}

void ImageViewTest::dragPans()
{
    ImageView view;
    view.resize(224, 224);
    view.setImage(plainPicture({ 400, 400 }, Qt::red));
    view.setZoomFactor(1);
    view.show();
    const QRectF before = view.imageRect();
    QTest::mousePress(&view, Qt::LeftButton, {}, { 100, 100 });
    QCOMPARE(view.cursor().shape(), Qt::ClosedHandCursor);
    QMouseEvent move(QEvent::MouseMove, QPointF(130, 90), view.mapToGlobal(QPointF(130, 90)),
        Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&view, &move);
    QTest::mouseRelease(&view, Qt::LeftButton, {}, { 130, 90 });
    QCOMPARE(view.imageRect().topLeft(), before.topLeft() + QPointF(30, -10));
    QCOMPARE(view.cursor().shape(), Qt::OpenHandCursor);
}

void ImageViewTest::doubleClickTogglesFit()
{
    ImageView view;
    view.resize(224, 224);
    view.setImage(plainPicture({ 400, 400 }, Qt::red));
    view.show();
    QTest::mouseDClick(&view, Qt::LeftButton, {}, { 50, 50 });
    QCOMPARE(view.zoomFactor(), 1.0);
    QTest::mouseDClick(&view, Qt::LeftButton, {}, { 50, 50 });
    QVERIFY(view.fitsWindow());
}

void ImageViewTest::smallPicturesAreSharp()
{
    QImage image(2, 1, QImage::Format_Mono);
    image.setColorTable({ qRgb(0, 0, 0), qRgb(255, 255, 255) });
    image.fill(0);
    image.setPixel(1, 0, 1);
    ImageView view;
    view.resize(124, 124);
    view.setImage(image);
    const QRectF place = view.imageRect();
    const QImage screen = view.grab().toImage();
    const int edge = int(place.center().x());
    const int y = int(place.center().y());
    QCOMPARE(screen.pixelColor(edge - 1, y), QColor(Qt::black));
    QCOMPARE(screen.pixelColor(edge, y), QColor(Qt::white));
}

void ImageViewTest::largePicturesAreSmooth()
{
    QImage stripes(2000, 2000, QImage::Format_RGB32);
    for (int x = 0; x < 2000; ++x) {
        for (int y = 0; y < 2000; ++y) {
            stripes.setPixelColor(x, y, x % 2 == 0 ? Qt::black : Qt::white);
        }
    }
    ImageView view;
    view.resize(224, 224);
    view.setImage(stripes);
    const QImage screen = view.grab().toImage();
    for (int x = 50; x < 170; ++x) {
        const int lightness = screen.pixelColor(x, 112).lightness();
        QVERIFY(lightness > 110 && lightness < 145);
    }
}

void ImageViewTest::fileIsReadInTheBackground()
{
    const QByteArray png = support::encoded(plainPicture({ 30, 20 }, Qt::blue), "PNG");
    const ImageFile file{ fileNamed(u"blue.png"_s, png) };
    ImageView view;
    QSignalSpy changed(&view, &ImageView::imageChanged);
    view.setImageWithFile(file);
    QVERIFY(view.image().isNull());
    QTRY_COMPARE(view.image().size(), QSize(30, 20));
    QCOMPARE(changed.count(), 2);
}

void ImageViewTest::missingFileIsEmpty()
{
    const QByteArray png = support::encoded(plainPicture({ 30, 20 }, Qt::blue), "PNG");
    const ImageFile good{ fileNamed(u"good.png"_s, png) };
    ImageView missing;
    missing.setImage(plainPicture({ 5, 5 }, Qt::red));
    missing.setImageWithFile({ m_folder.filePath(u"none.png"_s) });
    ImageView other; // what is read after it tells when it has been read
    for (int turn = 0; turn < 3; ++turn) {
        other.setImageWithFile(good);
        QTRY_VERIFY(!other.image().isNull());
    }
    QVERIFY(missing.image().isNull());
}

void ImageViewTest::lateFilesAreIgnored()
{
    const QByteArray large = support::encoded(support::noisePicture({ 1200, 1200 }), "PNG");
    const QByteArray small = support::encoded(plainPicture({ 30, 20 }, Qt::blue), "PNG");
    const ImageFile slow{ fileNamed(u"slow.png"_s, large) };
    const ImageFile quick{ fileNamed(u"quick.png"_s, small) };
    ImageView view;
    QList<QSize> sizes;
    connect(&view, &ImageView::imageChanged, this, [&] { sizes.append(view.image().size()); });
    view.setImageWithFile(slow);
    view.setImageWithFile(quick);
    QTRY_COMPARE(view.image().size(), QSize(30, 20));
    ImageView other;
    other.setImageWithFile(slow); // read after the first one
    QTRY_VERIFY(!other.image().isNull());
    QVERIFY(!sizes.contains(QSize(1200, 1200)));
    view.setImageWithFile(slow);
    view.setImage(plainPicture({ 7, 7 }, Qt::red));
    other.setImageWithFile(slow);
    QTRY_VERIFY(!other.image().isNull());
    QCOMPARE(view.image().size(), QSize(7, 7));
}

void ImageViewTest::viewMayGoWhileAFileIsRead()
{
    const QByteArray large = support::encoded(support::noisePicture({ 800, 800 }), "PNG");
    const ImageFile slow{ fileNamed(u"gone.png"_s, large) };
    auto view = std::make_unique<ImageView>();
    view->setImageWithFile(slow);
    view.reset();
    ImageView other;
    other.setImageWithFile(slow);
    QTRY_COMPARE(other.image().size(), QSize(800, 800));
}

void ImageViewTest::emptyViewIgnoresEverything()
{
    ImageView view;
    view.resize(200, 200);
    view.zoomIn();
    view.setZoomFactor(3);
    QTest::keyClick(&view, Qt::Key_Left);
    QTest::mouseDClick(&view, Qt::LeftButton);
    wheel(view, { 10, 10 }, 120, Qt::ControlModifier);
    QVERIFY(view.fitsWindow());
    QVERIFY(!view.grab().isNull());
}

void ImageViewTest::isAGraphicForScreenReaders()
{
    ImageView view;
    const QAccessibleInterface* graphic = QAccessible::queryAccessibleInterface(&view);
    QCOMPARE(graphic->role(), QAccessible::Graphic);
    QCOMPARE(graphic->text(QAccessible::Name), u"Picture"_s);
}

VELLUMCAP_TEST(ImageViewTest)
#include "tst_imageview.moc"
