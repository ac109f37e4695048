#include "platform/barcode/PayloadText.h"
#include "tests/support/DrawnCode.h"
#include "tests/support/EngineReadings.h"
#include "tests/support/TestMain.h"

#include <QStringEncoder>

#include <random>

using namespace Qt::StringLiterals;

using platform::Symbology;
using support::drawnCode;

namespace {

QByteArray inShiftJis(const QString& text)
{
    QStringEncoder encoder("Shift_JIS");
    return encoder(text);
}

QString textOf(const QList<platform::BarcodeObservation>& codes)
{
    return codes.isEmpty() ? u"(unread)"_s
                           : codes.first().payloadStringValue.value_or(u"(no text)"_s);
}

QString byZXing(const QImage& picture)
{
    return textOf(support::codesByZXing(picture));
}

QString byZBar(const QImage& picture)
{
    return textOf(support::codesByZBar(picture));
}

} // namespace

/// Both engines give the same text for a code.
class PayloadText : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void findsTheCharacterSet_data();
    void findsTheCharacterSet();
    void givesNoTextForBytes_data();
    void givesNoTextForBytes();
    void isTheSameInBothEngines_data();
    void isTheSameInBothEngines();
    void usesADeclaredCharacterSet_data();
    void usesADeclaredCharacterSet();
    void agreesOnRandomText_data();
    void agreesOnRandomText();
};

void PayloadText::findsTheCharacterSet_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");

    QTest::newRow("nothing") << QByteArray("") << QString();
    QTest::newRow("ASCII") << QByteArray("plain") << u"plain"_s;
    QTest::newRow("UTF-8") << QByteArray("Gr\xC3\xBC\xC3\x9F") << u"Grüß"_s;
    QTest::newRow("ISO 8859-1") << QByteArray("caf\xE9 cr\xE8me") << u"café crème"_s;
    QTest::newRow("pairs of umlauts")
        << QByteArray("\xDC\xD6\xC4 \xFC\xF6\xE4\xDF") << u"ÜÖÄ üöäß"_s;
    QTest::newRow("Shift JIS") << inShiftJis(u"こんにちは世界"_s) << u"こんにちは世界"_s;
    QTest::newRow("half-width") << inShiftJis(u"ﾃﾞｻﾞｲﾝQR\r\nhttp://example.org/"_s)
                                << u"ﾃﾞｻﾞｲﾝQR\r\nhttp://example.org/"_s;
    QTest::newRow("separator") << QByteArray("a\x1D"
                                             "b")
                               << u"a\u001Db"_s;
}

void PayloadText::findsTheCharacterSet()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);

    QCOMPARE(platform::payloadText(bytes), text);
}

void PayloadText::givesNoTextForBytes_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("compressed") << QByteArray("\x78\x9C\xC5\x99\x5B\x8F\x9A\x40\x14", 9);
    QTest::newRow("half a character") << QByteArray("\x82\xB1\x82");
    QTest::newRow("picture") << QByteArray("\x89PNG\r\n\x1A\n", 8);
    QTest::newRow("random") << QByteArray::fromHex("80ff01fe9d0290");
}

void PayloadText::givesNoTextForBytes()
{
    QFETCH(QByteArray, bytes);

    QCOMPARE(platform::payloadText(bytes), std::nullopt);
}

void PayloadText::isTheSameInBothEngines_data()
{
    QTest::addColumn<Symbology>("symbology");
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<QString>("text");

    const auto qr = [](const char* name, const QByteArray& payload, const QString& text) {
        QTest::newRow(name) << Symbology::Qr << payload << text;
    };
    qr("QR, UTF-8", u"Grüße, 日本語"_s.toUtf8(), u"Grüße, 日本語"_s);
    qr("QR, ISO 8859-1", "caf\xE9 cr\xE8me", u"café crème"_s);
    qr("QR, Shift JIS", inShiftJis(u"漢字とかな"_s), u"漢字とかな"_s);
    qr("QR, half-width", inShiftJis(u"ﾃﾞｻﾞｲﾝ"_s), u"ﾃﾞｻﾞｲﾝ"_s);
    qr("QR, bytes", QByteArray("\x78\x9C\xC5\x99\x5B\x8F\x9A\x40\x14", 9), u"(no text)"_s);
    QTest::newRow("UPC-A") << Symbology::Ean13 << QByteArray("0036000291452") << u"0036000291452"_s;
    QTest::newRow("EAN-13") << Symbology::Ean13 << QByteArray("4006381333931")
                            << u"4006381333931"_s;
    QTest::newRow("UPC-E") << Symbology::UpcE << QByteArray("01234565") << u"0012345000065"_s;
    QTest::newRow("Codabar") << Symbology::Codabar << QByteArray("A1234567B") << u"A1234567B"_s;
    // FNC1 at the beginning marks GS1 data; a later one ends a field.
    QTest::newRow("GS1-128") << Symbology::Code128
                             << QByteArray("\xF1"
                                           "0104012345123456"
                                           "10ABC\xF1"
                                           "21XYZ")
                             << u"010401234512345610ABC\u001D21XYZ"_s;
}

void PayloadText::isTheSameInBothEngines()
{
    QFETCH(Symbology, symbology);
    QFETCH(QByteArray, payload);
    QFETCH(QString, text);

    const QImage picture = drawnCode(symbology, payload);

    QCOMPARE(byZXing(picture), text);
    QCOMPARE(byZBar(picture), text);
}

void PayloadText::usesADeclaredCharacterSet_data()
{
    QTest::addColumn<QByteArray>("characterSet");
    QTest::addColumn<QString>("text");

    QTest::newRow("UTF-8") << QByteArray("UTF-8") << u"Grüße, 日本語"_s;
    QTest::newRow("Shift JIS") << QByteArray("Shift_JIS") << u"漢字とかなABC"_s;
    QTest::newRow("ISO 8859-15") << QByteArray("ISO-8859-15") << u"10 € für Œuvre"_s;
}

void PayloadText::usesADeclaredCharacterSet()
{
    QFETCH(QByteArray, characterSet);
    QFETCH(QString, text);

    QCOMPARE(byZXing(support::drawnQRCode(text, characterSet)), text);
}

void PayloadText::agreesOnRandomText_data()
{
    QTest::addColumn<QByteArray>("characterSet");
    QTest::addColumn<QString>("alphabet");

    QTest::newRow("UTF-8") << QByteArray("UTF-8") << u"abc äöüßéñ €漢字かなЖя"_s;
    QTest::newRow("ISO 8859-1") << QByteArray("ISO-8859-1")
                                << u"abcdefghijklmnopqrstuvwxyz ABCDEFGH äüéè"_s;
    QTest::newRow("Shift JIS") << QByteArray("Shift_JIS") << u"abc漢字日本語東京かなカナひらがな"_s;
}

void PayloadText::agreesOnRandomText()
{
    QFETCH(QByteArray, characterSet);
    QFETCH(QString, alphabet);
    std::mt19937 random(5);
    QStringEncoder encoder(characterSet.constData());
    for (int i = 0; i < 60; ++i) {
        QString text;
        for (int length = 8; length < 24; ++length) {
            text += alphabet.at(
                static_cast<qsizetype>(random() % static_cast<std::size_t>(alphabet.size())));
        }
        const QImage picture = drawnCode(Symbology::Qr, QByteArray(encoder(text)));

        QCOMPARE(byZXing(picture), text);
        QCOMPARE(byZBar(picture), text);
    }
}

VELLUMCAP_TEST(PayloadText)
#include "tst_payloadtext.moc"
