// Threads: std
#include "platform/graphics/BitmapPool.h"
#include "platform/graphics/ImageFilter.h"
#include "tests/support/TestMain.h"

#include <array>
#include <cmath>
#include <thread>

using platform::ImageFilter;
using platform::Mirroring;

namespace {

using Filters = QList<std::shared_ptr<ImageFilter>>;

Filters filterPair(double stops, double contrast)
{
    auto first = std::make_shared<ImageFilter>(ImageFilter::Kind::ExposureAdjust);
    auto second = std::make_shared<ImageFilter>(ImageFilter::Kind::ColorControls);
    first->setValue(stops);
    second->setValue(contrast);
    return { first, second };
}

/// Every level of every component once.
QImage ramp()
{
    QImage picture(256, 3, QImage::Format_RGB32);
    for (int level = 0; level < 256; ++level) {
        picture.setPixel(level, 0, qRgb(level, 0, 0));
        picture.setPixel(level, 1, qRgb(0, level, 0));
        picture.setPixel(level, 2, qRgb(level, level, level));
    }
    return picture;
}

int limited(double component)
{
    return static_cast<int>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
}

} // namespace

class ImageFilterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isNeutralAtFirst();
    void doublesLightWithEachStop_data();
    void doublesLightWithEachStop();
    void turnsContrastAboutTheMiddle();
    void agreesWithTheTwoSteps_data();
    void agreesWithTheTwoSteps();
    void limitsOnlyAtTheEnd();
    void treatsComponentsAlike();
    void mirrors_data();
    void mirrors();
    void givesNothingForNothing();
    void usesAValueThatAnotherThreadSets();
};

void ImageFilterTest::isNeutralAtFirst()
{
    const Filters filters{ std::make_shared<ImageFilter>(ImageFilter::Kind::ExposureAdjust),
        std::make_shared<ImageFilter>(ImageFilter::Kind::ColorControls) };

    QCOMPARE(platform::filtered(ramp(), filters, Mirroring::Off), ramp());
    QCOMPARE(platform::filtered(ramp(), {}, Mirroring::Off), ramp());
}

void ImageFilterTest::doublesLightWithEachStop_data()
{
    QTest::addColumn<double>("encoded");
    QTest::addColumn<double>("stops");
    QTest::addColumn<double>("expected");

    // 0.21404 is the light of one half, 0.42808 twice that, and so on.
    QTest::newRow("one stop up") << 0.5 << 1.0 << 0.68584;
    QTest::newRow("half a stop up") << 0.5 << 0.5 << 0.58622;
    QTest::newRow("one stop down") << 0.5 << -1.0 << 0.36078;
    QTest::newRow("near black it is a plain product") << 0.01 << 1.0 << 0.02;
    QTest::newRow("black stays") << 0.0 << 3.0 << 0.0;
}

void ImageFilterTest::doublesLightWithEachStop()
{
    QFETCH(double, encoded);
    QFETCH(double, stops);
    QFETCH(double, expected);
    ImageFilter filter(ImageFilter::Kind::ExposureAdjust);

    filter.setValue(stops);

    QVERIFY(std::abs(filter.applied(encoded) - expected) < 1e-4);
}

void ImageFilterTest::turnsContrastAboutTheMiddle()
{
    ImageFilter filter(ImageFilter::Kind::ColorControls);

    filter.setValue(1.5);

    QCOMPARE(filter.applied(0.5), 0.5);
    QCOMPARE(filter.applied(0.75), 0.875);
    QCOMPARE(filter.applied(0.1), -0.1);
}

void ImageFilterTest::agreesWithTheTwoSteps_data()
{
    QTest::addColumn<double>("stops");
    QTest::addColumn<double>("contrast");

    for (const double c : { 0.0, 50.0, -50.0, 12.5, -37.0 }) {
        QTest::newRow(qPrintable(QString::number(c))) << 0.5 + c / 100 << 1 + c / 100;
    }
}

void ImageFilterTest::agreesWithTheTwoSteps()
{
    QFETCH(double, stops);
    QFETCH(double, contrast);
    const Filters filters = filterPair(stops, contrast);

    const QImage result = platform::filtered(ramp(), filters, Mirroring::Off);

    for (int level = 0; level < 256; ++level) {
        const double exposed = filters.at(0)->applied(level / 255.0);
        const int expected = limited(filters.at(1)->applied(exposed));
        QVERIFY(std::abs(qGray(result.pixel(level, 2)) - expected) <= 1);
    }
}

void ImageFilterTest::limitsOnlyAtTheEnd()
{
    QImage white(1, 1, QImage::Format_RGB32);
    white.fill(Qt::white);

    // One stop above white is 1.3533 encoded, and less contrast brings it back to 0.9267.
    const QImage result = platform::filtered(white, filterPair(1, 0.5), Mirroring::Off);

    QCOMPARE(result.pixel(0, 0), qRgb(236, 236, 236));
}

void ImageFilterTest::treatsComponentsAlike()
{
    QImage picture(3, 1, QImage::Format_RGB32);
    picture.setPixel(0, 0, qRgba(10, 100, 200, 255));
    picture.setPixel(1, 0, qRgba(200, 10, 100, 255));
    picture.setPixel(2, 0, qRgba(100, 200, 10, 7));

    const QImage result = platform::filtered(picture, filterPair(0.5, 1.25), Mirroring::Off);

    const QRgb first = result.pixel(0, 0);
    const QRgb second = result.pixel(1, 0);
    QCOMPARE(qRed(second), qBlue(first));
    QCOMPARE(qGreen(second), qRed(first));
    QCOMPARE(qBlue(second), qGreen(first));
    const QRgb third = reinterpret_cast<const QRgb*>(result.constScanLine(0))[2];
    QCOMPARE(third, qRgba(qGreen(first), qBlue(first), qRed(first), 255));
}

void ImageFilterTest::mirrors_data()
{
    QTest::addColumn<int>("width");

    for (const int width : { 1, 2, 3, 64, 639 }) {
        QTest::newRow(qPrintable(QString::number(width))) << width;
    }
}

void ImageFilterTest::mirrors()
{
    QFETCH(int, width);
    QImage picture(width, 2, QImage::Format_RGB32);
    for (int x = 0; x < width; ++x) {
        picture.setPixel(x, 0, qRgb(x & 0xFF, 1, 2));
        picture.setPixel(x, 1, qRgb(3, x >> 2, 4));
    }

    QCOMPARE(platform::filtered(picture, {}, Mirroring::LeftRight), picture.mirrored(true, false));
}

void ImageFilterTest::givesNothingForNothing()
{
    QVERIFY(platform::filtered(QImage(), filterPair(0.5, 1), Mirroring::LeftRight).isNull());
}

void ImageFilterTest::usesAValueThatAnotherThreadSets()
{
    const Filters filters = filterPair(0, 1);
    const auto grey = [&filters] {
        QImage picture(1, 1, QImage::Format_RGB32);
        picture.fill(qRgb(100, 100, 100));
        return qGray(platform::filtered(picture, filters, Mirroring::Off).pixel(0, 0));
    };
    std::atomic<bool> isEnded = false;
    std::thread worker([&] {
        while (!isEnded) {
            grey();
        }
    });
    for (int round = 0; round < 200; ++round) {
        filters.at(0)->setValue(round % 2);
    }
    isEnded = true;
    worker.join();

    QCOMPARE(grey(), limited(filters.at(0)->applied(100 / 255.0)));
    QVERIFY(grey() > 100);
}

VELLUMCAP_TEST(ImageFilterTest)
#include "tst_imagefilter.moc"
