#include "platform/ui/ThumbnailLoader.h"
#include "platform/ui/ThumbnailView.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QAccessible>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>

using Qt::StringLiterals::operator""_s;

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
    void fileDeletedMeanwhile();
    void lateFileIsIgnored();
    void hiddenViewWantsNothing();
    void viewMayGoWhileItsFileIsRead();
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
        const QString path = m_folder.filePath(name);
        support::writeFile(path, support::encoded(plainPicture(size, color), format));
        return { path };
    }

    QTemporaryDir m_folder;
};

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
    // The density is fixed when the application starts, so another one has to.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_SCALE_FACTOR"_s, u"2"_s);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(),
        support::argumentsForCases({ u"readsAtTheScreensPixels"_s, u"showsThePicture"_s }));
    QVERIFY(process.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(process.state(), QProcess::NotRunning, 30'000);
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
    ThumbnailView view;
    view.resize(100, 100);
    const quint64 before = ThumbnailLoader::shared().loadCount();
    view.setImage({ m_folder.filePath(u"none.png"_s) });
    view.show();
    QTRY_COMPARE(ThumbnailLoader::shared().loadCount(), before + 1);
    ThumbnailView other;
    other.setImage(pictureNamed(u"other"_s, { 10, 10 }, Qt::red));
    other.show();
    QTRY_VERIFY(other.isLoaded());
    QVERIFY(!view.isLoaded());
    view.repaint(); // and it does not try again by itself
    QCOMPARE(ThumbnailLoader::shared().loadCount(), before + 2);
}

void ThumbnailViewTest::fileDeletedMeanwhile()
{
    const ImageFile file = pictureNamed(u"deleted"_s, { 300, 300 }, Qt::red);
    ThumbnailView view;
    view.resize(100, 100);
    view.setImage(file);
    view.show();
    QTRY_VERIFY(view.isLoaded());
    QVERIFY(QFile::remove(file.path));
    ThumbnailView cached;
    cached.resize(100, 100);
    cached.setImage(file);
    QVERIFY(!cached.grab().isNull());
    QVERIFY(cached.isLoaded()); // known from the cache
    const ImageFile never = pictureNamed(u"never seen"_s, { 300, 300 }, Qt::red);
    QVERIFY(QFile::remove(never.path));
    const quint64 before = ThumbnailLoader::shared().loadCount();
    view.setImage(never);
    QVERIFY(!view.isLoaded());
    QTRY_COMPARE(ThumbnailLoader::shared().loadCount(), before + 1);
    QTest::qWait(0);
    QVERIFY(!view.isLoaded());
}

void ThumbnailViewTest::lateFileIsIgnored()
{
    const QString slow = m_folder.filePath(u"slow"_s);
    support::writeFile(slow, support::encoded(support::noisePicture({ 900, 900 }), "PNG"));
    ThumbnailView view;
    view.resize(100, 100);
    view.setImage({ slow });
    view.show();
    view.repaint(); // asks
    view.setImage(pictureNamed(u"quick"_s, { 40, 40 }, Qt::blue));
    QTRY_VERIFY(view.isLoaded());
    ThumbnailView other;
    other.resize(100, 100);
    other.setImage({ slow });
    other.show();
    QTRY_VERIFY(other.isLoaded());
    QCOMPARE(view.picture().size(), QSize(40, 40));
}

void ThumbnailViewTest::hiddenViewWantsNothing()
{
    const quint64 before = ThumbnailLoader::shared().loadCount();
    ThumbnailView view;
    view.setImage(pictureNamed(u"hidden"_s, { 40, 40 }, Qt::blue));
    ThumbnailView other;
    other.setImage(pictureNamed(u"shown"_s, { 40, 40 }, Qt::blue));
    other.show();
    QTRY_VERIFY(other.isLoaded());
    QCOMPARE(ThumbnailLoader::shared().loadCount(), before + 1);
    view.show();
    QTRY_VERIFY(view.isLoaded());
}

void ThumbnailViewTest::viewMayGoWhileItsFileIsRead()
{
    const ImageFile file = pictureNamed(u"gone"_s, { 800, 800 }, Qt::red);
    auto view = std::make_unique<ThumbnailView>();
    view->setImage(file);
    view->show();
    view->repaint();
    view.reset();
    ThumbnailView other;
    other.setImage(file);
    other.show();
    QTRY_VERIFY(other.isLoaded());
}

void ThumbnailViewTest::newestRequestComesFirst()
{
    ThumbnailLoader loader;
    QList<int> delivered;
    QList<ThumbnailLoader::Ticket> tickets;
    const auto deliver = [&](int index) {
        delivered.append(index);
        if (delivered.size() == 2) { // so far one that waited was started
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
    QCOMPARE(loader.loadCount(), 3U);
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
    QCOMPARE(loader.loadCount(), 2U); // at most two at a time
    loader.cancel(tickets[0]); // being read
    loader.cancel(tickets[3]); // waiting
    QTRY_COMPARE(delivered.size(), 3);
    std::sort(delivered.begin(), delivered.end());
    QCOMPARE(delivered, (QList<int>{ 1, 2, 4 }));
    QCOMPARE(loader.loadCount(), 4U);
}

void ThumbnailViewTest::cacheIsBounded()
{
    ThumbnailLoader loader;
    const ImageFile file = pictureNamed(u"big"_s, { 2100, 2100 }, Qt::red);
    int delivered = 0;
    for (int side = 1000; side < 1012; ++side) { // 12 times 4 MB
        loader.request({ file.path, side }, [&delivered](const QImage&) { ++delivered; });
    }
    QTRY_COMPARE_WITH_TIMEOUT(delivered, 12, 30'000);
    QVERIFY(loader.cachedBytes() <= ThumbnailLoader::cacheBytes);
    QVERIFY(loader.cachedBytes() > ThumbnailLoader::cacheBytes / 2);
}

void ThumbnailViewTest::tooLargePictureIsNotRead()
{
    QImage huge(20'000, 20'000, QImage::Format_Mono);
    huge.fill(1);
    const QString path = m_folder.filePath(u"huge.png"_s);
    QVERIFY(huge.save(path));
    huge = {};
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
