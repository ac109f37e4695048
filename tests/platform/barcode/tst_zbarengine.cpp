#include "platform/barcode/GreyPicture.h"
#include "tests/support/DrawnCode.h"
#include "tests/support/EngineReadings.h"
#include "tests/support/TestMain.h"

using namespace Qt::StringLiterals;

using platform::Symbology;
using support::codesByZBar;
using support::drawnCode;

/// What tests of the whole detector rarely reach, because ZXing reads the code first.
class ZBarEngineTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decodesBytesItself_data();
    void decodesBytesItself();
    void givesNoTextForBytes();
    void givesProductCodesThirteenDigits_data();
    void givesProductCodesThirteenDigits();
    void doesNotReadUnreliableSymbologies_data();
    void doesNotReadUnreliableSymbologies();
    void ordersTheCornersOfQrCodes();
    void givesABoxForLinearCodes();
    void readsPaddedRows();
};

void ZBarEngineTest::decodesBytesItself_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");

    QTest::newRow("ASCII") << QByteArray("plain") << u"plain"_s;
    QTest::newRow("UTF-8") << QByteArray("Gr\xC3\xBC\xC3\x9F") << u"Grüß"_s;
    QTest::newRow("ISO 8859-1") << QByteArray("caf\xE9 cr\xE8me") << u"café crème"_s;
    QTest::newRow("separator") << QByteArray("a\x1D"
                                             "b")
                               << u"a\u001Db"_s;
}

void ZBarEngineTest::decodesBytesItself()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);

    const auto codes = codesByZBar(drawnCode(Symbology::Qr, bytes));

    QCOMPARE(codes.size(), 1);
    QCOMPARE(codes.first().payloadStringValue, text);
    QCOMPARE(codes.first().symbology, Symbology::Qr);
}

void ZBarEngineTest::givesNoTextForBytes()
{
    const auto codes
        = codesByZBar(drawnCode(Symbology::Qr, QByteArray("\x78\x9C\xC5\x99\x5B\x8F")));

    QCOMPARE(codes.size(), 1);
    QVERIFY(!codes.first().payloadStringValue);
}

void ZBarEngineTest::givesProductCodesThirteenDigits_data()
{
    QTest::addColumn<Symbology>("symbology");
    QTest::addColumn<QString>("written");
    QTest::addColumn<QString>("read");

    QTest::newRow("UPC-A") << Symbology::Ean13 << u"0036000291452"_s << u"0036000291452"_s;
    QTest::newRow("UPC-E") << Symbology::UpcE << u"01234565"_s << u"0012345000065"_s;
}

void ZBarEngineTest::givesProductCodesThirteenDigits()
{
    QFETCH(Symbology, symbology);
    QFETCH(QString, written);
    QFETCH(QString, read);

    const auto codes = codesByZBar(drawnCode(symbology, written));

    QCOMPARE(codes.size(), 1);
    QCOMPARE(codes.first().payloadStringValue, read);
    QCOMPARE(codes.first().symbology, symbology);
}

void ZBarEngineTest::doesNotReadUnreliableSymbologies_data()
{
    QTest::addColumn<QImage>("picture");

    QTest::newRow("ITF") << drawnCode(Symbology::Itf, u"00123456789012"_s);
    QTest::newRow("Code 39") << drawnCode(Symbology::Code39, u"CODE-39"_s);
}

void ZBarEngineTest::doesNotReadUnreliableSymbologies()
{
    QFETCH(QImage, picture);

    QVERIFY(codesByZBar(picture).isEmpty());
}

void ZBarEngineTest::ordersTheCornersOfQrCodes()
{
    const QImage picture = drawnCode(Symbology::Qr, u"corners"_s);

    const auto codes = codesByZBar(picture);

    QCOMPARE(codes.size(), 1);
    const QPolygonF& corners = codes.first().corners;
    const QPointF centre = QRectF(picture.rect()).center();
    QCOMPARE(corners.size(), 4);
    QVERIFY(corners.at(0).x() < centre.x() && corners.at(0).y() < centre.y());
    QVERIFY(corners.at(1).x() > centre.x() && corners.at(1).y() < centre.y());
    QVERIFY(corners.at(2).x() > centre.x() && corners.at(2).y() > centre.y());
    QVERIFY(corners.at(3).x() < centre.x() && corners.at(3).y() > centre.y());
}

void ZBarEngineTest::givesABoxForLinearCodes()
{
    const QImage picture = drawnCode(Symbology::Ean13, u"4006381333931"_s);

    const auto codes = codesByZBar(picture);

    QCOMPARE(codes.size(), 1);
    const QRectF box = codes.first().corners.boundingRect();
    QCOMPARE(codes.first().corners.size(), 4);
    QVERIFY(QRectF(picture.rect()).contains(box));
    QVERIFY(box.width() > picture.width() / 2.0);
}

void ZBarEngineTest::readsPaddedRows()
{
    const QImage code = drawnCode(Symbology::Qr, u"padded"_s);
    const QImage odd = code.copy(0, 0, code.width() + 1, code.height());
    QVERIFY(platform::greyPicture(odd).bytesPerLine() > odd.width());

    QCOMPARE(codesByZBar(odd).size(), 1);
}

VELLUMCAP_TEST(ZBarEngineTest)
#include "tst_zbarengine.moc"
