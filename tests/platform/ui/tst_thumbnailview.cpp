#include "platform/ui/ThumbnailLoader.h"
#include "platform/ui/ThumbnailView.h"
#include "tests/support/TemporaryFiles.h"
#include "tests/support/TestMain.h"

#include <QAccessible>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

using platform::ImageFile;
using platform::ThumbnailLoader;
using platform::ThumbnailView;
using support::plainPicture;

class ThumbnailViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void showsThePicture();
    void readsAtTheScreensPixels();
    void readsAtTwiceTheDensity();
    void jpegAndPngAreReduced_data();
    void jpegAndPngAreReduced();
    void missingFileIsEmpty();
    void deletedFileIsEmpty();
    void lateFileIsIgnored();
    void hiddenViewReadsNothing();
    void viewMayBeDestroyedDuringReading();
    void newestRequestComesFirst();
    void cancelledRequestIsNotRead();
    void cacheIsBounded();
    void tooLargePictureIsNotRead();
    void tileFollowsThePalette();
    void isAGraphicForScreenReaders();

private:
    ImageFile pictureNamed(
        const QString& name, QSize size, QColor color, const char* format = "PNG") const
    {
        return { m_files.add(name, support::encoded(plainPicture(size, color), format)) };
    }

    support::TemporaryFiles m_files;
};

namespace {

/// A shown view of 100 pixels.
class SmallView : public ThumbnailView {
public:
    explicit SmallView(const ImageFile& file)
    {
        resize(100, 100);
        setImage(file);
        show();
    }
};

/// Paints at once; repaint() has no effect before the window is exposed.
void paint(ThumbnailView& view)
{
    view.grab();
}

/// Whether the view shows that there is no picture, as a view without a file does. It shows
/// neither this nor a picture while a file is being read.
bool looksEmpty(ThumbnailView& view)
{
    ThumbnailView empty;
    empty.resize(view.size());
    return view.grab().toImage() == empty.grab().toImage();
}

/// Whether the picture was read for a view of any usual size.
bool isCached(const ThumbnailLoader& loader, const ImageFile& file)
{
    for (int side = 64; side <= 1024; side += 64) {
        if (!loader.cached({ file.path, side }).isNull()) {
            return true;
        }
    }
    return false;
}

} // namespace

void ThumbnailViewTest::showsThePicture()
{
    ThumbnailView view;
    view.resize(116, 216);
    view.setImage(pictureNamed(u"red"_s, { 400, 200 }, Qt::red));
    view.show();
    QVERIFY(!view.isLoaded());
    QTRY_VERIFY(view.isLoaded());
    const QImage screen = view.grab().toImage();
    // 8 pixels stay free on each side; the whole picture is 100 x 50 in the middle.
    QCOMPARE(screen.pixelColor(58, 108), QColor(Qt::red));
    QCOMPARE(screen.pixelColor(10, 108), QColor(Qt::red));
    QVERIFY(screen.pixelColor(5, 108) != QColor(Qt::red));
    QCOMPARE(screen.pixelColor(58, 85), QColor(Qt::red));
    QVERIFY(screen.pixelColor(58, 80) != QColor(Qt::red));
    view.setImage({});
    QVERIFY(!view.isLoaded());
    QVERIFY(view.grab().toImage().pixelColor(58, 108) != QColor(Qt::red));
}

void ThumbnailViewTest::readsAtTheScreensPixels()
{
    ThumbnailView view;
    view.resize(116, 116);
    view.setImage(pictureNamed(u"large"_s, { 2000, 1000 }, Qt::blue));
    view.show();
    QTRY_VERIFY(view.isLoaded());
    const double wanted = 100 * view.devicePixelRatioF();
    QVERIFY(view.picture().width() >= wanted);
    QVERIFY(view.picture().width() < wanted + 64);
    QCOMPARE(view.picture().height(), view.picture().width() / 2);
    const QString density = qEnvironmentVariable("QT_SCALE_FACTOR", u"1"_s);
    QCOMPARE(view.devicePixelRatioF(), density.toDouble());
    view.resize(316, 316);
    QTRY_VERIFY(view.picture().width() >= 300 * view.devicePixelRatioF());
}

void ThumbnailViewTest::readsAtTwiceTheDensity()
{
    // The density cannot change after the start: runs the cases in another process.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_SCALE_FACTOR"_s, u"2"_s);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(),
        support::argumentsForCases({ u"readsAtTheScreensPixels"_s, u"showsThePicture"_s }));
    QVERIFY(process.waitForFinished(3 * support::patience));
    const QByteArray output = process.readAllStandardOutput();
    QVERIFY2(output.contains("readsAtTheScreensPixels()"), output.constData());
    QVERIFY2(!output.contains("FAIL!  : ThumbnailViewTest::readsAtTheScreensPixels"),
        output.constData());
}

void ThumbnailViewTest::jpegAndPngAreReduced_data()
{
    QTest::addColumn<QByteArray>("format");
    QTest::newRow("jpeg") << QByteArrayLiteral("JPEG");
    QTest::newRow("png") << QByteArrayLiteral("PNG");
    QTest::newRow("bmp") << QByteArrayLiteral("BMP");
}

void ThumbnailViewTest::jpegAndPngAreReduced()
{
    QFETCH(const QByteArray, format);
    ThumbnailView view;
    view.resize(144, 144);
    view.setImage(
        pictureNamed(QString::fromLatin1(format), { 700, 1400 }, Qt::green, format.constData()));
    view.show();
    QTRY_VERIFY(view.isLoaded());
    QCOMPARE(view.picture().size(), QSize(64, 128));
}

void ThumbnailViewTest::missingFileIsEmpty()
{
    const QString path = m_files.path(u"none.png"_s);
    SmallView view({ path });
    QTRY_VERIFY(looksEmpty(view));
    // A file that appears later is not read by itself.
    m_files.add(u"none.png"_s, support::encoded(plainPicture({ 10, 10 }, Qt::red), "PNG"));
    paint(view);
    const SmallView other(pictureNamed(u"other"_s, { 10, 10 }, Qt::red));
    QTRY_VERIFY(other.isLoaded());
    QVERIFY(!view.isLoaded());
    QVERIFY(!isCached(ThumbnailLoader::shared(), { path }));
}

void ThumbnailViewTest::deletedFileIsEmpty()
{
    const ImageFile file = pictureNamed(u"deleted"_s, { 300, 300 }, Qt::red);
    SmallView view(file);
    QTRY_VERIFY(view.isLoaded());
    QVERIFY(QFile::remove(file.path));
    SmallView cached(file);
    paint(cached);
    QVERIFY(cached.isLoaded());
    const ImageFile neverRead = pictureNamed(u"never read"_s, { 300, 300 }, Qt::red);
    QVERIFY(QFile::remove(neverRead.path));
    view.setImage(neverRead);
    QVERIFY(!view.isLoaded());
    QTRY_VERIFY(looksEmpty(view));
}

void ThumbnailViewTest::lateFileIsIgnored()
{
    const ImageFile slow{ m_files.add(
        u"slow"_s, support::encoded(support::noisePicture({ 900, 900 }), "PNG")) };
    SmallView view(slow);
    paint(view); // begins to read
    view.setImage(pictureNamed(u"quick"_s, { 40, 40 }, Qt::blue));
    QTRY_VERIFY(view.isLoaded());
    const SmallView other(slow);
    QTRY_VERIFY(other.isLoaded());
    QCOMPARE(view.picture().size(), QSize(40, 40));
}

void ThumbnailViewTest::hiddenViewReadsNothing()
{
    const ImageFile hidden = pictureNamed(u"hidden"_s, { 40, 40 }, Qt::blue);
    ThumbnailView view;
    view.resize(100, 100);
    view.setImage(hidden);
    const SmallView other(pictureNamed(u"shown"_s, { 40, 40 }, Qt::blue));
    QTRY_VERIFY(other.isLoaded());
    QVERIFY(!isCached(ThumbnailLoader::shared(), hidden));
    view.show();
    QTRY_VERIFY(view.isLoaded());
    QVERIFY(isCached(ThumbnailLoader::shared(), hidden));
}

void ThumbnailViewTest::viewMayBeDestroyedDuringReading()
{
    const ImageFile file = pictureNamed(u"gone"_s, { 800, 800 }, Qt::red);
    auto view = std::make_unique<SmallView>(file);
    paint(*view); // begins to read
    view.reset();
    const SmallView other(file);
    QTRY_VERIFY(other.isLoaded());
}

void ThumbnailViewTest::newestRequestComesFirst()
{
    ThumbnailLoader loader;
    QList<int> delivered;
    QList<ThumbnailLoader::Ticket> tickets;
    const auto deliver = [&](int index) {
        delivered.append(index);
        if (delivered.size() == 2) { // only one of those that waited has been started
            for (int waiting = 2; waiting < 5; ++waiting) {
                loader.cancel(tickets[waiting]);
            }
        }
    };
    const ImageFile file = pictureNamed(u"order"_s, { 60, 60 }, Qt::red);
    for (int index = 0; index < 6; ++index) {
        tickets.append(loader.request(
            { file.path, 64 + index }, [deliver, index](const QImage&) { deliver(index); }));
    }
    QTRY_COMPARE(delivered.size(), 3);
    QVERIFY(delivered.contains(5));
    for (int waiting = 2; waiting < 5; ++waiting) {
        QVERIFY(loader.cached({ file.path, 64 + waiting }).isNull());
    }
}

void ThumbnailViewTest::cancelledRequestIsNotRead()
{
    ThumbnailLoader loader;
    const ImageFile file = pictureNamed(u"cancelled"_s, { 60, 60 }, Qt::red);
    QList<int> delivered;
    QList<ThumbnailLoader::Ticket> tickets;
    for (int index = 0; index < 5; ++index) {
        tickets.append(loader.request({ file.path, 64 + index },
            [&delivered, index](const QImage&) { delivered.append(index); }));
    }
    loader.cancel(tickets[0]); // is being read
    loader.cancel(tickets[3]); // waits, since two are being read
    QTRY_COMPARE(delivered.size(), 3);
    std::sort(delivered.begin(), delivered.end());
    QCOMPARE(delivered, (QList<int>{ 1, 2, 4 }));
    QVERIFY(loader.cached({ file.path, 64 + 3 }).isNull());
}

void ThumbnailViewTest::cacheIsBounded()
{
    ThumbnailLoader loader;
    const ImageFile file = pictureNamed(u"big"_s, { 2100, 2100 }, Qt::red);
    int delivered = 0;
    for (int side = 1000; side < 1012; ++side) { // 12 times 4 MB
        loader.request({ file.path, side }, [&delivered](const QImage&) { ++delivered; });
    }
    QTRY_COMPARE(delivered, 12);
    qsizetype bytes = 0;
    for (int side = 1000; side < 1012; ++side) {
        bytes += loader.cached({ file.path, side }).sizeInBytes();
    }
    QVERIFY(bytes <= ThumbnailLoader::cacheBytes);
    QVERIFY(bytes > ThumbnailLoader::cacheBytes / 2);
}

void ThumbnailViewTest::tooLargePictureIsNotRead()
{
    const QString path = m_files.add(u"huge.png"_s, support::tooLargePng());
    ThumbnailLoader loader;
    int delivered = 0;
    loader.request({ path, 64 }, [&delivered](const QImage& image) {
        QVERIFY(image.isNull());
        ++delivered;
    });
    QTRY_COMPARE(delivered, 1);
    QVERIFY(ImageFile{ path }.load().isNull());
}

void ThumbnailViewTest::tileFollowsThePalette()
{
    ThumbnailView view;
    view.resize(100, 100);
    const auto tileWith = [&view](QColor base, QColor text) {
        QPalette palette;
        palette.setColor(QPalette::Base, base);
        palette.setColor(QPalette::Window, base);
        palette.setColor(QPalette::Text, text);
        view.setPalette(palette);
        return view.grab().toImage().pixelColor(20, 20).lightness();
    };
    QVERIFY(tileWith(Qt::white, Qt::black) > 220);
    QVERIFY(tileWith(Qt::black, Qt::white) < 35);
}

void ThumbnailViewTest::isAGraphicForScreenReaders()
{
    ThumbnailView view;
    QCOMPARE(QAccessible::queryAccessibleInterface(&view)->role(), QAccessible::Graphic);
}

VELLUMCAP_TEST(ThumbnailViewTest)
#include "tst_thumbnailview.moc"
