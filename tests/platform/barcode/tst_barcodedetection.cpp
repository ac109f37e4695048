#include "platform/barcode/DetectBarcodesRequest.h"
#include "tests/support/DrawnCode.h"
#include "tests/support/HardFrames.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QPainter>
#include <QThread>
#include <QTransform>

#include <array>

using namespace Qt::StringLiterals;

using platform::BarcodeObservation;
using platform::DetectBarcodesRequest;
using platform::ImageRequestHandler;
using platform::Symbology;
using support::drawnCode;
using support::noisePicture;
using support::plainPicture;

namespace {

// GS1 DataBar of 2001234567890 and its check digit.
constexpr auto dataBarWidths = "1111331151274111221215125121112112833212123211";

QList<BarcodeObservation> codesIn(const QImage& picture)
{
    DetectBarcodesRequest request(nullptr);
    return ImageRequestHandler(picture).perform(request) ? request.results()
                                                         : QList<BarcodeObservation>();
}

std::optional<QString> textIn(const QImage& picture)
{
    const auto codes = codesIn(picture);
    return codes.isEmpty() ? std::nullopt : codes.first().payloadStringValue;
}

// "ABC" (ISO/IEC 16022) as the smallest of all symbols. ZXing's writer draws only square ones.
QImage oblongDataMatrix()
{
    constexpr std::array rows{
        "#.#.#.#.#.#.#.#.#.",
        "#.##.....#.####..#",
        "#....#..##........",
        "#.####..######..##",
        "#....##.###.###...",
        "#...#.#.##.#..#.##",
        "###.....#...#...#.",
        "##################",
    };
    constexpr int modulePixels = 4;
    QImage picture = plainPicture({ 20 * modulePixels, 10 * modulePixels }, Qt::white);
    QPainter painter(&picture);
    painter.scale(modulePixels, modulePixels);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 18; ++x) {
            if (rows[static_cast<std::size_t>(y)][x] == '#') {
                painter.fillRect(x + 1, y + 1, 1, 1, Qt::black);
            }
        }
    }
    return picture;
}

QImage onPaper(const QImage& code, QPoint at, QSize paper)
{
    QImage picture = plainPicture(paper, Qt::white);
    QPainter(&picture).drawImage(at, code);
    return picture;
}

// The outline of a code drawn by drawnCode(), without its quiet zone.
QRectF codeRect(const QImage& code, QPoint at, int modulePixels)
{
    const int margin = 10 * modulePixels;
    return QRectF(code.rect().translated(at)).adjusted(margin, margin, -margin, -margin);
}

} // namespace

class BarcodeDetection : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsEverySymbology_data();
    void readsEverySymbology();
    void readsDataBar();
    void readsTextAsItWasWritten_data();
    void readsTextAsItWasWritten();
    void readsLatinBytes();
    void givesNoTextForBytes();
    void readsEveryImageFormat_data();
    void readsEveryImageFormat();
    void treatsTransparentAsWhite();
    void readsRotatedCodes_data();
    void readsRotatedCodes();
    void readsInvertedCodes();
    void readsMirroredPictures();
    void givesTheCorners_data();
    void givesTheCorners();
    void readsCodesOffCentre_data();
    void readsCodesOffCentre();
    void readsWithoutQuietZone();
    void readsSlantedAztec();
    void findsNothingInNaturalNoise();
    void findsNothing_data();
    void findsNothing();
    void refusesANullBitmap();
    void callsItsHandlerOnceOnThisThread_data();
    void callsItsHandlerOnceOnThisThread();
    void replacesThePreviousResults();
};

void BarcodeDetection::readsEverySymbology_data()
{
    QTest::addColumn<Symbology>("symbology");
    QTest::addColumn<QString>("written");
    QTest::addColumn<QString>("read");

    const auto row
        = [](const char* name, Symbology symbology, const QString& written, const QString& read) {
              QTest::newRow(name) << symbology << written << (read.isEmpty() ? written : read);
          };
    row("Aztec", Symbology::Aztec, u"Aztec 1"_s, {});
    row("Codabar", Symbology::Codabar, u"A1234567B"_s, {});
    row("Code 39", Symbology::Code39, u"CODE-39"_s, {});
    row("Code 93", Symbology::Code93, u"CODE 93"_s, {});
    row("Code 128", Symbology::Code128, u"Code 128"_s, {});
    row("Data Matrix", Symbology::DataMatrix, u"Data Matrix 1"_s, {});
    row("EAN-8", Symbology::Ean8, u"96385074"_s, {});
    row("EAN-13", Symbology::Ean13, u"4006381333931"_s, {});
    row("UPC-A", Symbology::Ean13, u"0036000291452"_s, {});
    row("UPC-E, 0", Symbology::UpcE, u"01234505"_s, u"0012000003455"_s);
    row("UPC-E, 3", Symbology::UpcE, u"01234531"_s, u"0012300000451"_s);
    row("UPC-E, 4", Symbology::UpcE, u"01234543"_s, u"0012340000053"_s);
    row("UPC-E, 6", Symbology::UpcE, u"01234565"_s, u"0012345000065"_s);
    row("ITF", Symbology::Itf, u"00123456789012"_s, {});
    row("PDF417", Symbology::Pdf417, u"PDF 417 text"_s, {});
    row("QR", Symbology::Qr, u"https://example.org/"_s, {});
}

void BarcodeDetection::readsEverySymbology()
{
    QFETCH(Symbology, symbology);
    QFETCH(QString, written);
    QFETCH(QString, read);

    const auto codes = codesIn(drawnCode(symbology, written));

    QCOMPARE(codes.size(), 1);
    QCOMPARE(codes.first().payloadStringValue, read);
    QCOMPARE(codes.first().symbology, symbology);
}

void BarcodeDetection::readsDataBar()
{
    const auto codes = codesIn(support::drawnBars(dataBarWidths));

    QCOMPARE(codes.size(), 1);
    QCOMPARE(codes.first().payloadStringValue, u"0120012345678909"_s);
    QCOMPARE(codes.first().symbology, Symbology::DataBar);
}

void BarcodeDetection::readsTextAsItWasWritten_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("umlauts") << u"Grüße aus Köln"_s;
    QTest::newRow("Greek") << u"Καλημέρα κόσμε"_s;
    QTest::newRow("Japanese") << u"日本語のテキスト"_s;
    QTest::newRow("beyond the basic plane") << u"Hi \U0001F600!"_s;
    QTest::newRow("line ends") << u"one\r\ntwo\n\tthree"_s;
    QTest::newRow("separators") << u"a\u001Db\u001Ec\u0004"_s;
    QTest::newRow("null character") << QString(u"a"_s + QChar(0) + u'b');
    QTest::newRow("control characters") << u"\u0001\u0010AD:SUB;;"_s;
    QTest::newRow("markup") << u"<b>bold</b> &amp; <GS>"_s;
    QTest::newRow("spaces") << u"  two  "_s;
}

void BarcodeDetection::readsTextAsItWasWritten()
{
    QFETCH(QString, text);

    QCOMPARE(textIn(drawnCode(Symbology::Qr, text)), text);
}

void BarcodeDetection::readsLatinBytes()
{
    const auto picture = drawnCode(Symbology::Qr, QByteArray("caf\xE9 cr\xE8me"));

    QCOMPARE(textIn(picture), u"café crème"_s);
}

void BarcodeDetection::givesNoTextForBytes()
{
    const auto codes
        = codesIn(drawnCode(Symbology::Qr, QByteArray("\x78\x9C\xC5\x99\x5B\x8F\x9A\x40\x14", 9)));

    QCOMPARE(codes.size(), 1);
    QVERIFY(!codes.first().payloadStringValue);
}

void BarcodeDetection::readsEveryImageFormat_data()
{
    QTest::addColumn<QImage::Format>("format");
    for (int format = QImage::Format_Mono; format < QImage::NImageFormats; ++format) {
        // A mask has no colours: modules and paper would be the same.
        if (format != QImage::Format_Alpha8) {
            QTest::addRow("%d", format) << static_cast<QImage::Format>(format);
        }
    }
}

void BarcodeDetection::readsEveryImageFormat()
{
    QFETCH(QImage::Format, format);
    const auto picture = drawnCode(Symbology::Qr, u"format"_s).convertToFormat(format);

    QCOMPARE(textIn(picture), u"format"_s);
}

void BarcodeDetection::treatsTransparentAsWhite()
{
    QImage picture = drawnCode(Symbology::Qr, u"glass"_s).convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const bool isPaper = qGray(picture.pixel(x, y)) > 0;
            picture.setPixel(x, y, isPaper ? qRgba(0, 0, 0, 0) : qRgba(0, 0, 0, 255));
        }
    }

    QCOMPARE(textIn(picture), u"glass"_s);
}

void BarcodeDetection::readsRotatedCodes_data()
{
    QTest::addColumn<Symbology>("symbology");
    QTest::addColumn<QTransform>("turn");

    for (const int degrees : { 30, 90, 180, 270 }) {
        QTest::addRow("QR by %d", degrees) << Symbology::Qr << QTransform().rotate(degrees);
    }
    for (const int degrees : { 90, 180, 270 }) {
        QTest::addRow("Code 128 by %d", degrees)
            << Symbology::Code128 << QTransform().rotate(degrees);
    }
    QTest::newRow("QR mirrored") << Symbology::Qr << QTransform::fromScale(-1, 1);
}

void BarcodeDetection::readsRotatedCodes()
{
    QFETCH(Symbology, symbology);
    QFETCH(QTransform, turn);
    const QImage upright = drawnCode(symbology, u"turned"_s).convertToFormat(QImage::Format_ARGB32);

    QCOMPARE(textIn(upright.transformed(turn)), u"turned"_s);
}

void BarcodeDetection::readsInvertedCodes()
{
    QImage picture = drawnCode(Symbology::Qr, u"white on black"_s);
    picture.invertPixels();

    QCOMPARE(textIn(picture), u"white on black"_s);
}

void BarcodeDetection::readsMirroredPictures()
{
    const QImage code = drawnCode(Symbology::Aztec, u"from the left"_s, 4);
    QImage shown = onPaper(code, QPoint(100, 60), QSize(400, 300));
    const QRectF upright = codeRect(code, QPoint(100, 60), 4);
    shown.mirror(true, false);

    DetectBarcodesRequest request(nullptr);
    QVERIFY(
        ImageRequestHandler(shown, { platform::ImageOrientation::Mirrored, {} }).perform(request));

    QCOMPARE(request.results().size(), 1);
    QCOMPARE(request.results().first().payloadStringValue, u"from the left"_s);
    const QRectF found = request.results().first().corners.boundingRect();
    QVERIFY(std::abs(found.right() - (400 - upright.left())) < 8);
    QVERIFY(std::abs(found.top() - upright.top()) < 8);
}

void BarcodeDetection::givesTheCorners_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QPoint>("at");
    QTest::addColumn<int>("modulePixels");

    QTest::newRow("unscaled") << QSize(640, 480) << QPoint(200, 100) << 4;
    QTest::newRow("read smaller") << QSize(4000, 3000) << QPoint(2700, 1500) << 12;
    QTest::newRow("too small once made smaller") << QSize(6000, 1000) << QPoint(5000, 400) << 2;
}

void BarcodeDetection::givesTheCorners()
{
    QFETCH(QSize, size);
    QFETCH(QPoint, at);
    QFETCH(int, modulePixels);
    const QImage code = drawnCode(Symbology::Qr, u"here"_s, modulePixels);

    const auto codes = codesIn(onPaper(code, at, size));

    QCOMPARE(codes.size(), 1);
    const QRectF expected = codeRect(code, at, modulePixels);
    const QPolygonF& corners = codes.first().corners;
    QCOMPARE(corners.size(), 4);
    const auto isNear = [modulePixels](QPointF found, QPointF wanted) {
        return (found - wanted).manhattanLength() <= 2 * modulePixels;
    };
    QVERIFY(isNear(corners.at(0), expected.topLeft()));
    QVERIFY(isNear(corners.at(1), expected.topRight()));
    QVERIFY(isNear(corners.at(2), expected.bottomRight()));
    QVERIFY(isNear(corners.at(3), expected.bottomLeft()));
}

void BarcodeDetection::readsCodesOffCentre_data()
{
    QTest::addColumn<QImage>("code");
    QTest::addColumn<QString>("text");

    QTest::newRow("Aztec") << drawnCode(Symbology::Aztec, u"aside"_s) << u"aside"_s;
    QTest::newRow("Data Matrix") << drawnCode(Symbology::DataMatrix, u"aside"_s) << u"aside"_s;
    QTest::newRow("Data Matrix, 8 x 18") << oblongDataMatrix() << u"ABC"_s;
    QTest::newRow("QR") << drawnCode(Symbology::Qr, u"aside"_s) << u"aside"_s;
}

void BarcodeDetection::readsCodesOffCentre()
{
    QFETCH(QImage, code);
    QFETCH(QString, text);

    QCOMPARE(textIn(onPaper(code, QPoint(20, 20), QSize(900, 700))), text);
}

void BarcodeDetection::readsWithoutQuietZone()
{
    const QImage code = drawnCode(Symbology::Qr, u"to the border"_s);

    QCOMPARE(textIn(code.copy(code.rect().adjusted(40, 40, -40, -40))), u"to the border"_s);
}

// ZXing follows the modules from the middle of a code, which fails for such a code.
void BarcodeDetection::readsSlantedAztec()
{
    const QString text = u"slanted "_s.repeated(12);
    const QImage code = drawnCode(Symbology::Aztec, text, 5);
    const double side = code.width();
    QTransform slant;
    QVERIFY(QTransform::quadToQuad(QPolygonF(QRectF(code.rect())).mid(0, 4),
        QPolygonF{ QPointF(60, 20), QPointF(side * 0.9, 0), QPointF(side, side * 0.75),
            QPointF(0, side * 0.95) },
        slant));
    QImage picture = plainPicture(code.size() + QSize(60, 60), Qt::white);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setTransform(slant);
    painter.drawImage(0, 0, code);
    painter.end();

    QCOMPARE(textIn(picture), text);
}

void BarcodeDetection::findsNothingInNaturalNoise()
{
    support::HardFrames maker(1);
    for (int i = 0; i < 100; ++i) {
        const QImage picture = maker.ground(QSize(160 + i, 120), support::Ground::Clouds);
        QVERIFY2(codesIn(picture).isEmpty(), qPrintable(QString::number(i)));
    }
}

void BarcodeDetection::findsNothing_data()
{
    QTest::addColumn<QImage>("picture");

    QTest::newRow("white") << plainPicture(QSize(800, 600), Qt::white);
    QTest::newRow("noise") << noisePicture(QSize(800, 600));
    for (const int side : { 1, 2, 7, 8, 9, 20 }) {
        QTest::addRow("%d x %d", side, side) << noisePicture(QSize(side, side));
        QTest::addRow("%d x 500", side) << noisePicture(QSize(side, 500));
        QTest::addRow("500 x %d", side) << noisePicture(QSize(500, side));
    }
    QTest::newRow("a long line") << plainPicture(QSize(30000, 8), Qt::white);
    QTest::newRow("mask") << QImage(100, 100, QImage::Format_Alpha8);
}

void BarcodeDetection::findsNothing()
{
    QFETCH(QImage, picture);
    DetectBarcodesRequest request(nullptr);

    QVERIFY(ImageRequestHandler(picture).perform(request));
    QVERIFY(request.results().isEmpty());
}

void BarcodeDetection::refusesANullBitmap()
{
    DetectBarcodesRequest request(nullptr);

    QVERIFY(!ImageRequestHandler(QImage()).perform(request));
    QVERIFY(request.results().isEmpty());
}

void BarcodeDetection::callsItsHandlerOnceOnThisThread_data()
{
    QTest::addColumn<QImage>("picture");
    QTest::addColumn<int>("results");

    QTest::newRow("code") << drawnCode(Symbology::Qr, u"once"_s) << 1;
    QTest::newRow("no code") << noisePicture(QSize(100, 100)) << 0;
    QTest::newRow("pixel") << noisePicture(QSize(1, 1)) << 0;
    QTest::newRow("null") << QImage() << 0;
}

void BarcodeDetection::callsItsHandlerOnceOnThisThread()
{
    QFETCH(QImage, picture);
    QFETCH(int, results);
    QList<Qt::HANDLE> threads;
    qsizetype seen = -1;
    DetectBarcodesRequest request([&](const DetectBarcodesRequest& finished) {
        threads.append(QThread::currentThreadId());
        seen = finished.results().size();
    });

    ImageRequestHandler(picture).perform(request);

    QCOMPARE(threads, QList<Qt::HANDLE>{ QThread::currentThreadId() });
    QCOMPARE(seen, results);
}

void BarcodeDetection::replacesThePreviousResults()
{
    DetectBarcodesRequest request(nullptr);
    ImageRequestHandler(drawnCode(Symbology::Qr, u"first"_s)).perform(request);
    QCOMPARE(request.results().size(), 1);

    ImageRequestHandler(noisePicture(QSize(100, 100))).perform(request);

    QVERIFY(request.results().isEmpty());
}

VELLUMCAP_TEST(BarcodeDetection)
#include "tst_barcodedetection.moc"
