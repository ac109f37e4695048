#include "platform/ui/ImageView.h"
#include "tests/support/TemporaryFiles.h"
#include "tests/support/TestMain.h"

#include <QAccessible>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

using platform::ImageFile;
using platform::ImageView;
using support::plainPicture;

class ImageViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void loadsByContent();
    void loadAppliesTheOrientation();
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
    void viewMayBeDestroyedDuringReading();
    void emptyViewIgnoresEverything();
    void isAGraphicForScreenReaders();

private:
    ImageFile pngNamed(const QString& name, const QImage& image) const
    {
        return { m_files.add(name, support::encoded(image, "PNG")) };
    }

    support::TemporaryFiles m_files;
};

namespace {

void wheel(ImageView& view, QPointF at, int turn, Qt::KeyboardModifiers modifiers)
{
    QWheelEvent event(at, view.mapToGlobal(at), {}, { 0, turn }, Qt::NoButton, modifiers,
        Qt::NoScrollPhase, false);
    QApplication::sendEvent(&view, &event);
}

/// A square picture of 400 pixels in a view that has room for 200.
class SquareView : public ImageView {
public:
    SquareView()
    {
        resize(224, 224);
        setImage(plainPicture({ 400, 400 }, Qt::red));
    }
};

/// Pixels on screen per pixel of the picture.
double zoomOf(const ImageView& view)
{
    return view.imageRect().width() / view.image().width();
}

/// The picture's point (in its pixels) that is under a point of the view.
QPointF pointUnder(const ImageView& view, QPointF at)
{
    return (at - view.imageRect().topLeft()) / zoomOf(view);
}

void press(ImageView& view, Qt::Key key, int times = 1)
{
    for (int press = 0; press < times; ++press) {
        QTest::keyClick(&view, key);
    }
}

/// Waits until a view has read the file, so probably every view that began earlier has too.
bool hasBeenRead(const ImageFile& file)
{
    ImageView view;
    view.setImageWithFile(file);
    return QTest::qWaitFor([&view] { return !view.image().isNull(); }, support::patience);
}

} // namespace

void ImageViewTest::loadsByContent()
{
    const ImageFile file = pngNamed(u"wrong.jpg"_s, plainPicture({ 3, 2 }, Qt::green));
    QCOMPARE(file.load().size(), QSize(3, 2));
    QCOMPARE(file.load().pixelColor(0, 0), QColor(Qt::green));
}

void ImageViewTest::loadAppliesTheOrientation()
{
    QImage image = plainPicture({ 40, 20 }, Qt::white);
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 20; ++x) {
            image.setPixelColor(x, y, Qt::black); // the left half
        }
    }
    const ImageFile file{ m_files.add(u"turned.jpg"_s, support::turnedJpeg(image)) };
    const QImage loaded = file.load();
    QCOMPARE(loaded.size(), QSize(20, 40));
    QVERIFY(loaded.pixelColor(10, 5).lightness() < 40);
    QVERIFY(loaded.pixelColor(10, 35).lightness() > 215);
}

void ImageViewTest::loadIsNullWithoutAPicture()
{
    QVERIFY(ImageFile{}.load().isNull());
    QVERIFY(ImageFile{ m_files.path(u"missing.png"_s) }.load().isNull());
    QVERIFY(ImageFile{ m_files.folder() }.load().isNull());
    QVERIFY(ImageFile{ m_files.add(u"text.png"_s, "no picture") }.load().isNull());
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
    QTEST(zoomOf(view), "zoom");
    QVERIFY(QRectF(view.rect()).contains(view.imageRect()));
    QVERIFY((view.imageRect().center() - QRectF(view.rect()).center()).manhattanLength() <= 1);
    const QImage screen = view.grab().toImage();
    QCOMPARE(screen.pixelColor(212, 112), QColor(Qt::red));
    QVERIFY(screen.pixelColor(6, 112) != QColor(Qt::red));
}

void ImageViewTest::fitFollowsTheSize()
{
    SquareView view;
    view.show();
    QCOMPARE(zoomOf(view), 0.5);
    view.resize(424, 424);
    QTRY_COMPARE(zoomOf(view), 1.0);
    press(view, Qt::Key_Plus);
    view.resize(224, 224);
    QCOMPARE(zoomOf(view), 1.25);
    press(view, Qt::Key_0);
    QCOMPARE(zoomOf(view), 0.5);
    view.resize(424, 424);
    QTRY_COMPARE(zoomOf(view), 1.0);
    press(view, Qt::Key_Plus);
    view.setImage(plainPicture({ 400, 400 }, Qt::blue)); // whole again
    QCOMPARE(zoomOf(view), 1.0);
}

void ImageViewTest::keysZoom()
{
    SquareView view;
    press(view, Qt::Key_Plus);
    QCOMPARE(zoomOf(view), 0.625);
    press(view, Qt::Key_Minus);
    QCOMPARE(zoomOf(view), 0.5);
    press(view, Qt::Key_1);
    QCOMPARE(zoomOf(view), 1.0);
    press(view, Qt::Key_0);
    QCOMPARE(zoomOf(view), 0.5);
}

void ImageViewTest::zoomIsBounded()
{
    SquareView view;
    press(view, Qt::Key_Plus, 30);
    QCOMPARE(zoomOf(view), 8.0);
    press(view, Qt::Key_Minus, 60);
    QCOMPARE(zoomOf(view), 0.5);
    view.setImage(plainPicture({ 20, 20 }, Qt::red));
    press(view, Qt::Key_Minus, 30);
    QCOMPARE(zoomOf(view), 1.0);
}

void ImageViewTest::wheelZoomsAroundThePointer()
{
    SquareView view;
    press(view, Qt::Key_1);
    const QPointF at(60, 150);
    const QPointF before = pointUnder(view, at);
    wheel(view, at, 120, Qt::ControlModifier);
    QCOMPARE(zoomOf(view), 1.25);
    QVERIFY((pointUnder(view, at) - before).manhattanLength() < 1);
    wheel(view, at, -120, Qt::ControlModifier);
    QCOMPARE(zoomOf(view), 1.0);
}

void ImageViewTest::plainWheelAndKeysPan()
{
    SquareView view;
    press(view, Qt::Key_1);
    const QRectF middle = view.imageRect();
    wheel(view, { 100, 100 }, -120, Qt::NoModifier);
    QCOMPARE(view.imageRect().top(), middle.top() - 48);
    press(view, Qt::Key_Up);
    QCOMPARE(view.imageRect(), middle);
    press(view, Qt::Key_Right);
    QCOMPARE(view.imageRect().left(), middle.left() - 48);
    press(view, Qt::Key_Left, 20);
    press(view, Qt::Key_Down, 20);
    QCOMPARE(view.imageRect().left(), 12.0); // no further than the picture reaches
    QCOMPARE(view.imageRect().bottom(), 212.0);
}

void ImageViewTest::dragPans()
{
    SquareView view;
    press(view, Qt::Key_1);
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
    SquareView view;
    view.show();
    QTest::mouseDClick(&view, Qt::LeftButton, {}, { 50, 50 });
    QCOMPARE(zoomOf(view), 1.0);
    QTest::mouseDClick(&view, Qt::LeftButton, {}, { 50, 50 });
    QCOMPARE(zoomOf(view), 0.5);
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
    const QPoint middle = place.center().toPoint();
    QCOMPARE(screen.pixelColor(middle.x() - 1, middle.y()), QColor(Qt::black));
    QCOMPARE(screen.pixelColor(middle), QColor(Qt::white));
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
    const ImageFile file = pngNamed(u"blue.png"_s, plainPicture({ 30, 20 }, Qt::blue));
    ImageView view;
    view.setImageWithFile(file);
    QVERIFY(view.image().isNull());
    QTRY_COMPARE(view.image().size(), QSize(30, 20));
}

void ImageViewTest::missingFileIsEmpty()
{
    const ImageFile good = pngNamed(u"good.png"_s, plainPicture({ 30, 20 }, Qt::blue));
    ImageView missing;
    missing.setImage(plainPicture({ 5, 5 }, Qt::red));
    missing.setImageWithFile({ m_files.path(u"none.png"_s) });
    for (int turn = 0; turn < 3; ++turn) {
        QVERIFY(hasBeenRead(good));
    }
    QVERIFY(missing.image().isNull());
}

void ImageViewTest::lateFilesAreIgnored()
{
    const ImageFile slow = pngNamed(u"slow.png"_s, support::noisePicture({ 1200, 1200 }));
    const ImageFile quick = pngNamed(u"quick.png"_s, plainPicture({ 30, 20 }, Qt::blue));
    ImageView view;
    view.setImageWithFile(slow);
    view.setImageWithFile(quick);
    QTRY_COMPARE(view.image().size(), QSize(30, 20));
    QVERIFY(hasBeenRead(slow));
    QCOMPARE(view.image().size(), QSize(30, 20));
    view.setImageWithFile(slow);
    view.setImage(plainPicture({ 7, 7 }, Qt::red));
    QVERIFY(hasBeenRead(slow));
    QCOMPARE(view.image().size(), QSize(7, 7));
}

void ImageViewTest::viewMayBeDestroyedDuringReading()
{
    const ImageFile slow = pngNamed(u"gone.png"_s, support::noisePicture({ 800, 800 }));
    auto view = std::make_unique<ImageView>();
    view->setImageWithFile(slow);
    view.reset();
    QVERIFY(hasBeenRead(slow));
}

void ImageViewTest::emptyViewIgnoresEverything()
{
    ImageView view;
    view.resize(200, 200);
    const QRectF place = view.imageRect();
    press(view, Qt::Key_Plus);
    press(view, Qt::Key_1);
    press(view, Qt::Key_Left);
    QTest::mouseDClick(&view, Qt::LeftButton);
    wheel(view, { 10, 10 }, 120, Qt::ControlModifier);
    QCOMPARE(view.imageRect(), place);
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
