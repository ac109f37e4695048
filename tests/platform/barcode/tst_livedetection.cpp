#include "platform/barcode/DetectBarcodesRequest.h"
#include "platform/barcode/Detector.h"
#include "platform/barcode/LiveScan.h"
#include "tests/support/DrawnCode.h"
#include "tests/support/HardFrames.h"
#include "tests/support/TestMain.h"

#include <QPainter>

#include <memory>

using namespace Qt::StringLiterals;

using platform::ImageOrientation;
using platform::Symbology;
using support::HardCode;

namespace {

constexpr QSize frameSize(1280, 720);

// The number of frames until a scan reads the scene; 0 when it does not.
int framesUntilRead(const support::HardScene& scene)
{
    platform::LiveScan scan;
    for (int i = 0; i < scene.frames.size(); ++i) {
        const auto detection = platform::detectCodes(scene.frames.at(i), scan.nextFrame());
        if (detection && !detection->codes.isEmpty()) {
            return detection->codes.first().payloadStringValue == scene.text ? i + 1 : 0;
        }
        scan.setLocated(detection ? detection->located : QRect());
    }
    return 0;
}

// On a busy machine a live frame can take too long: then tries again.
QList<platform::BarcodeObservation> codesIn(
    const QImage& frame, ImageOrientation orientation, bool isLive)
{
    platform::DetectBarcodesRequest request(nullptr);
    const auto perform = [&] {
        const auto scan = isLive ? std::make_shared<platform::LiveScan>() : nullptr;
        return platform::ImageRequestHandler(frame, { orientation, scan }).perform(request);
    };
    return QTest::qWaitFor(perform, support::patience) ? request.results()
                                                       : QList<platform::BarcodeObservation>();
}

} // namespace

class LiveDetection : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsWithinAFewFrames_data();
    void readsWithinAFewFrames();
    void readsMirroredPicturesAsWell();
    void findsNothingWithoutACode_data();
    void findsNothingWithoutACode();
    void locatesAnUnreadableCode();
    void isDeterministic();
    void givesTheCorners_data();
    void givesTheCorners();
};

void LiveDetection::readsWithinAFewFrames_data()
{
    QTest::addColumn<HardCode>("code");
    QTest::addColumn<int>("frames");
    QTest::addColumn<int>("atLeast"); // of four scenes

    QTest::newRow("QR, large") << HardCode{ .height = 0.25 } << 1 << 3;
    QTest::newRow("QR, small") << HardCode{ .height = 0.12 } << 2 << 3;
    QTest::newRow("EAN-13") << HardCode{ .symbology = Symbology::Ean13, .height = 0.2 } << 4 << 3;
    QTest::newRow("EAN-13, turned")
        << HardCode{ .symbology = Symbology::Ean13, .height = 0.25, .isTurned = true } << 10 << 1;
    QTest::newRow("Aztec") << HardCode{
        .symbology = Symbology::Aztec, .height = 0.25, .isTurned = true
    } << 10 << 1;
    QTest::newRow("Data Matrix") << HardCode{
        .symbology = Symbology::DataMatrix, .height = 0.25, .isTurned = true
    } << 10 << 2;
    QTest::newRow("PDF417") << HardCode{ .symbology = Symbology::Pdf417, .height = 0.25 } << 4 << 3;
    QTest::newRow("QR, blurred") << HardCode{ .height = 0.25, .blur = 2 } << 10 << 2;
    QTest::newRow("QR, noisy") << HardCode{ .height = 0.25, .noise = 25 } << 4 << 3;
    QTest::newRow("QR, slanted") << HardCode{ .height = 0.25, .isTurned = true, .isSlanted = true }
                                 << 4 << 3;
    QTest::newRow("QR, mirrored") << HardCode{ .height = 0.25, .isMirrored = true } << 10 << 3;
    QTest::newRow("QR, inverted") << HardCode{ .height = 0.25, .isInverted = true } << 10 << 2;
}

void LiveDetection::readsWithinAFewFrames()
{
    QFETCH(HardCode, code);
    QFETCH(int, frames);
    QFETCH(int, atLeast);
    support::HardFrames maker(11);

    int read = 0;
    for (int i = 0; i < 4; ++i) {
        read += framesUntilRead(maker.scene(frameSize, code, frames)) > 0 ? 1 : 0;
    }

    QVERIFY2(read >= atLeast, qPrintable(QString::number(read)));
}

// A mirrored picture is mirrored back, so that the same codes are found.
void LiveDetection::readsMirroredPicturesAsWell()
{
    support::HardFrames maker(12);
    for (int i = 0; i < 4; ++i) {
        const auto scene = maker.scene(frameSize, { .height = 0.2, .isTurned = true }, 1);
        const QImage& seen = scene.frames.first();
        const QImage shown = seen.mirrored(true, false);
        for (const bool isLive : { false, true }) {
            const auto upright = codesIn(seen, ImageOrientation::Upright, isLive);
            const auto mirrored = codesIn(shown, ImageOrientation::Mirrored, isLive);
            QCOMPARE(mirrored.size(), upright.size());
            QCOMPARE(mirrored.size(), 1);
            QCOMPARE(mirrored.first().payloadStringValue, scene.text);
        }
    }
}

void LiveDetection::findsNothingWithoutACode_data()
{
    QTest::addColumn<support::Ground>("ground");

    QTest::newRow("plain") << support::Ground::Plain;
    QTest::newRow("clouds") << support::Ground::Clouds;
    QTest::newRow("text") << support::Ground::Text;
    QTest::newRow("shapes") << support::Ground::Shapes;
    QTest::newRow("dusk") << support::Ground::Dusk;
}

void LiveDetection::findsNothingWithoutACode()
{
    QFETCH(support::Ground, ground);
    support::HardFrames maker(13);
    platform::LiveScan scan;

    const QImage frame = maker.ground(frameSize, ground);
    for (int i = 0; i < 12; ++i) {
        const auto detection = platform::detectCodes(frame, scan.nextFrame());
        QVERIFY(detection);
        QVERIFY(detection->codes.isEmpty());
        scan.setLocated(detection->located);
    }
}

void LiveDetection::locatesAnUnreadableCode()
{
    QImage frame(frameSize, QImage::Format_Grayscale8);
    frame.fill(220);
    QImage code = support::drawnCode(Symbology::Qr, u"half of it is missing"_s, 6);
    const QPoint at(800, 300);
    QPainter painter(&frame);
    painter.drawImage(at, code);
    painter.fillRect(QRect(at, QSize(code.width() / 2, code.height())), QColor(220, 220, 220));
    painter.end();

    const auto detection = platform::detectCodes(frame, platform::LiveFrame());

    QVERIFY(detection && detection->codes.isEmpty());
    const QRect rest(at + QPoint(code.width() / 2, 0), QSize(code.width() / 2, code.height()));
    QVERIFY(rest.adjusted(-8, -8, 8, 8).contains(detection->located));
    QVERIFY(detection->located.width() > rest.width() / 3);
}

void LiveDetection::isDeterministic()
{
    support::HardFrames maker(14);
    const HardCode code{ .height = 0.12, .blur = 1.5, .noise = 20, .isTurned = true };
    const QImage frame = maker.scene(frameSize, code, 1).frames.first();

    for (quint64 number = 0; number < 8; ++number) {
        const platform::LiveFrame live{ number, QRect(100, 100, 200, 200) };
        const auto first = platform::detectCodes(frame, live);
        const auto second = platform::detectCodes(frame, live);
        QVERIFY(first && second);
        QCOMPARE(second->codes.size(), first->codes.size());
        QCOMPARE(second->located, first->located);
    }
}

void LiveDetection::givesTheCorners_data()
{
    QTest::addColumn<QImage>("code");

    const QImage upright = support::drawnCode(Symbology::Qr, u"here"_s, 5);
    QImage inverted = upright;
    inverted.invertPixels();
    QTest::newRow("at once") << upright;
    QTest::newRow("mirrored") << upright.mirrored(true, false);
    QTest::newRow("inverted") << inverted;
}

void LiveDetection::givesTheCorners()
{
    QFETCH(QImage, code);
    QImage frame(1920, 1080, QImage::Format_Grayscale8);
    frame.fill(128);
    const QPoint at(1200, 500);
    QPainter(&frame).drawImage(at, code);
    const QRect expected = QRect(at, code.size()).adjusted(50, 50, -50, -50);

    QRectF found;
    platform::LiveScan scan;
    for (int i = 0; i < 24 && found.isEmpty(); ++i) {
        const auto detection = platform::detectCodes(frame, scan.nextFrame());
        QVERIFY(detection);
        found = detection->codes.isEmpty() ? QRectF()
                                           : detection->codes.first().corners.boundingRect();
        scan.setLocated(detection->located);
    }

    QVERIFY(std::abs(found.left() - expected.left()) < 12);
    QVERIFY(std::abs(found.top() - expected.top()) < 12);
    QVERIFY(std::abs(found.right() - expected.right()) < 12);
    QVERIFY(std::abs(found.bottom() - expected.bottom()) < 12);
}

VELLUMCAP_TEST(LiveDetection)
#include "tst_livedetection.moc"
