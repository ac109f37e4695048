#include "platform/barcode/isolation/DecoderLimits.h"
#include "platform/barcode/isolation/DecoderMessages.h"
#include "tests/support/TestMain.h"

#include <cstring>
#include <limits>

using namespace Qt::StringLiterals;

using platform::BarcodeObservation;
using platform::Detection;
using platform::LiveFrame;
using platform::Symbology;
using platform::decoder::Greeting;
using platform::decoder::largestMessage;
using platform::decoder::largestPicture;
using platform::decoder::largestSide;
using platform::decoder::longestText;
using platform::decoder::mebibyte;
using platform::decoder::mostCodes;
using platform::decoder::readGreeting;
using platform::decoder::readReply;
using platform::decoder::readRequest;
using platform::decoder::Reply;
using platform::decoder::Request;
using platform::decoder::written;

namespace {

const QPolygonF square({ { 10.5, -2 }, { 90, 3.25 }, { 88, 80 }, { 12, 81 } });

Reply replyOf(const QList<BarcodeObservation>& codes)
{
    return { 7, Detection{ codes, QRect(3, 4, 50, 60) } };
}

BarcodeObservation codeOf(const QString& text)
{
    return { text, Symbology::Qr, square };
}

/// The codes after writing and reading a message.
QList<BarcodeObservation> carried(const QList<BarcodeObservation>& codes)
{
    const auto reply = readReply(written(replyOf(codes)));
    return reply && reply->detection ? reply->detection->codes : QList<BarcodeObservation>();
}

/// The message with another field at an offset.
template <typename Field> QByteArray changed(QByteArray message, qsizetype at, Field field)
{
    std::memcpy(message.data() + at, &field, sizeof field);
    return message;
}

// The offsets of the fields of a reply with one code.
constexpr qsizetype kindAt = 0;
constexpr qsizetype versionAt = 4;
constexpr qsizetype isReadAt = 16;
constexpr qsizetype locatedAt = 20;
constexpr qsizetype countAt = 36;
constexpr qsizetype symbologyAt = 40;
constexpr qsizetype hasTextAt = 44;
constexpr qsizetype lengthAt = 48;
constexpr qsizetype hasCornersAt = 52;
constexpr qsizetype cornersAt = 56;
constexpr qsizetype textAt = cornersAt + 64;

} // namespace

Q_DECLARE_METATYPE(platform::decoder::Request)

class DecoderMessagesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void carriesGreetings();
    void carriesRequests_data();
    void carriesRequests();
    void carriesReplies();
    void carriesFailures();
    void carriesTexts_data();
    void carriesTexts();
    void carriesEverySymbology();
    void omitsInvalidTexts();
    void omitsInvalidCorners_data();
    void omitsInvalidCorners();
    void omitsCodesBeyondTheLimit();
    void refusesTruncatedMessages();
    void refusesTrailingBytes();
    void refusesOtherMessages();
    void refusesHostileReplies_data();
    void refusesHostileReplies();
    void refusesHostileRequests_data();
    void refusesHostileRequests();
};

void DecoderMessagesTest::carriesGreetings()
{
    QCOMPARE(readGreeting(written(Greeting{ 0 }))->refusal, 0);
    QCOMPARE(readGreeting(written(Greeting{ 38 }))->refusal, 38);
    QVERIFY(!readGreeting(written(Greeting{ -1 })));
}

void DecoderMessagesTest::carriesRequests_data()
{
    QTest::addColumn<Request>("request");

    QTest::newRow("still") << Request{ 1, { 640, 480 }, 640, 0, {} };
    QTest::newRow("padded, new memory") << Request{ 2, { 639, 480 }, 640, mebibyte, {} };
    QTest::newRow("live") << Request{ 3, { 8, 9 }, 8, 0, LiveFrame{ 41, QRect(1, 2, 3, 4) } };
    QTest::newRow("nothing located") << Request{ 4, { 8, 9 }, 8, 0, LiveFrame{ 42, {} } };
    QTest::newRow("large") << Request{ ~0ULL, { 16384, 32768 }, 16384, largestPicture, {} };
}

void DecoderMessagesTest::carriesRequests()
{
    QFETCH(Request, request);

    const auto read = readRequest(written(request));

    QVERIFY(read);
    QCOMPARE(read->number, request.number);
    QCOMPARE(read->size, request.size);
    QCOMPARE(read->bytesPerLine, request.bytesPerLine);
    QCOMPARE(read->newMemory, request.newMemory);
    QCOMPARE(read->frame.has_value(), request.frame.has_value());
    QCOMPARE(read->frame.value_or(LiveFrame()).number, request.frame.value_or(LiveFrame()).number);
    QCOMPARE(
        read->frame.value_or(LiveFrame()).located, request.frame.value_or(LiveFrame()).located);
}

void DecoderMessagesTest::carriesReplies()
{
    const auto read = readReply(written(
        replyOf({ codeOf(u"one"_s), { std::nullopt, Symbology::UpcE, {} }, codeOf(QString()) })));

    QVERIFY(read && read->detection);
    QCOMPARE(read->number, 7U);
    QCOMPARE(read->detection->located, QRect(3, 4, 50, 60));
    const auto& codes = read->detection->codes;
    QCOMPARE(codes.size(), 3);
    QCOMPARE(codes.at(0).payloadStringValue, u"one"_s);
    QCOMPARE(codes.at(0).symbology, Symbology::Qr);
    QCOMPARE(codes.at(0).corners, square);
    QVERIFY(!codes.at(1).payloadStringValue);
    QCOMPARE(codes.at(1).symbology, Symbology::UpcE);
    QVERIFY(codes.at(1).corners.isEmpty());
    QCOMPARE(codes.at(2).payloadStringValue, QString());
}

void DecoderMessagesTest::carriesFailures()
{
    const auto read = readReply(written(Reply{ 9, std::nullopt }));

    QVERIFY(read);
    QCOMPARE(read->number, 9U);
    QVERIFY(!read->detection);
}

void DecoderMessagesTest::carriesTexts_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("null character") << QString(u"a"_s + QChar(0) + u'b');
    QTest::newRow("beyond the basic plane") << u"\U0001F600\U0010FFFF"_s;
    QTest::newRow("controls, directions") << u"\u001d\n\u202e\u2066"_s;
    QTest::newRow("no characters") << u"\uFFFE\uFFFF"_s;
    QTest::newRow("longest") << QString(longestText, u'日');
}

void DecoderMessagesTest::carriesTexts()
{
    QFETCH(QString, text);
    const auto codes = carried({ codeOf(text) });

    QCOMPARE(codes.size(), 1);
    QCOMPARE(codes.first().payloadStringValue, text);
}

void DecoderMessagesTest::carriesEverySymbology()
{
    for (int number = 0; number <= static_cast<int>(Symbology::UpcE); ++number) {
        const auto codes = carried({ { std::nullopt, static_cast<Symbology>(number), {} } });
        QCOMPARE(codes.size(), 1);
        QCOMPARE(codes.first().symbology, static_cast<Symbology>(number));
    }
}

void DecoderMessagesTest::omitsInvalidTexts()
{
    const auto codes = carried({ codeOf(QString(QChar(0xd800)) + u'a'),
        codeOf(QString(longestText + 1, u'a')), codeOf(u"good"_s) });

    QCOMPARE(codes.size(), 3);
    QVERIFY(!codes.at(0).payloadStringValue);
    QVERIFY(!codes.at(1).payloadStringValue);
    QCOMPARE(codes.at(2).payloadStringValue, u"good"_s);
}

void DecoderMessagesTest::omitsInvalidCorners_data()
{
    QTest::addColumn<QPolygonF>("corners");
    const auto with = [](double coordinate) {
        QPolygonF corners = square;
        corners[2].setY(coordinate);
        return corners;
    };

    QTest::newRow("three") << QPolygonF(square.first(3));
    QTest::newRow("five") << QPolygonF(square + QPolygonF({ { 1, 1 } }));
    QTest::newRow("infinite") << with(std::numeric_limits<double>::infinity());
    QTest::newRow("no number") << with(std::numeric_limits<double>::quiet_NaN());
    QTest::newRow("far away") << with(-1e12);
}

void DecoderMessagesTest::omitsInvalidCorners()
{
    QFETCH(QPolygonF, corners);
    const auto codes = carried({ { u"text"_s, Symbology::Qr, corners } });

    QCOMPARE(codes.size(), 1);
    QVERIFY(codes.first().corners.isEmpty());
    QCOMPARE(codes.first().payloadStringValue, u"text"_s);
}

void DecoderMessagesTest::omitsCodesBeyondTheLimit()
{
    QCOMPARE(carried(QList<BarcodeObservation>(mostCodes + 5)).size(), mostCodes);

    const auto longOnes = replyOf(QList<BarcodeObservation>(9, codeOf(QString(longestText, u'a'))));
    const QByteArray message = written(longOnes);
    QVERIFY(message.size() <= largestMessage);
    const auto read = readReply(message);
    QVERIFY(read && read->detection);
    QCOMPARE(read->detection->codes.size(), 2);
}

void DecoderMessagesTest::refusesTruncatedMessages()
{
    const QByteArray reply = written(replyOf({ codeOf(u"one"_s), codeOf(u"two"_s) }));
    const QByteArray request
        = written(Request{ 3, { 8, 9 }, 8, 0, LiveFrame{ 41, QRect(1, 2, 3, 4) } });
    QVERIFY(readReply(reply));
    QVERIFY(readRequest(request));

    for (qsizetype size = 0; size < reply.size(); ++size) {
        QVERIFY2(!readReply(QByteArrayView(reply).first(size)), QByteArray::number(size));
    }
    for (qsizetype size = 0; size < request.size(); ++size) {
        QVERIFY2(!readRequest(QByteArrayView(request).first(size)), QByteArray::number(size));
    }
}

void DecoderMessagesTest::refusesTrailingBytes()
{
    QVERIFY(!readReply(written(replyOf({})) + '\0'));
    QVERIFY(!readReply(written(Reply{ 1, std::nullopt }) + '\0'));
    QVERIFY(!readRequest(written(Request{ 1, { 8, 8 }, 8, 0, {} }) + '\0'));
    QVERIFY(!readGreeting(written(Greeting{ 0 }) + '\0'));
}

void DecoderMessagesTest::refusesOtherMessages()
{
    const QByteArray reply = written(replyOf({}));
    QVERIFY(!readRequest(reply));
    QVERIFY(!readGreeting(reply));
    QVERIFY(!readReply(written(Greeting{ 0 })));
    QVERIFY(!readReply(changed(reply, kindAt, quint32{ 0 })));
    QVERIFY(!readReply(changed(reply, versionAt, quint32{ 2 })));
}

void DecoderMessagesTest::refusesHostileReplies_data()
{
    QTest::addColumn<QByteArray>("message");
    const QByteArray good = written(replyOf({ codeOf(u"text"_s) }));
    QVERIFY(readReply(good));
    QCOMPARE(good.size(), textAt + 8);
    const auto row = [&good](const char* name, qsizetype at, auto field) {
        QTest::newRow(name) << changed(good, at, field);
    };

    row("flag of 2", isReadAt, quint32{ 2 });
    row("located nowhere", locatedAt, qint32{ -1 });
    row("located too far", locatedAt, std::numeric_limits<qint32>::max());
    row("width below zero", locatedAt + 8, qint32{ -50 });
    row("two codes announced", countAt, quint32{ 2 });
    row("no code announced", countAt, quint32{ 0 });
    row("endless codes", countAt, quint32{ 0xffffffff });
    row("unknown symbology", symbologyAt, static_cast<quint32>(Symbology::UpcE) + 1);
    row("symbology below zero", symbologyAt, qint32{ -1 });
    row("text where there is none", hasTextAt, quint32{ 0 });
    row("longer text", lengthAt, quint32{ 5 });
    row("shorter text", lengthAt, quint32{ 3 });
    row("endless text", lengthAt, quint32{ 0x80000004 });
    row("no corners announced", hasCornersAt, quint32{ 0 });
    row("infinite corner", cornersAt, std::numeric_limits<double>::infinity());
    row("corner that is no number", cornersAt + 8, std::numeric_limits<double>::quiet_NaN());
    row("corner far away", cornersAt + 56, 1e300);
    row("lone high surrogate", textAt + 2, quint16{ 0xd83d });
    row("lone low surrogate", textAt, quint16{ 0xde00 });
    row("high surrogate at the end", textAt + 6, quint16{ 0xd83d });
    QTest::newRow("noise") << QByteArray(300, '\xff');
    QTest::newRow("nothing") << QByteArray();
}

void DecoderMessagesTest::refusesHostileReplies()
{
    QFETCH(QByteArray, message);

    QVERIFY(!readReply(message));
}

void DecoderMessagesTest::refusesHostileRequests_data()
{
    QTest::addColumn<Request>("request");

    QTest::newRow("no width") << Request{ 1, { 0, 8 }, 8, 0, {} };
    QTest::newRow("height below zero") << Request{ 1, { 8, -8 }, 8, 0, {} };
    QTest::newRow("wide") << Request{ 1, { largestSide + 1, 1 }, largestSide + 1, 0, {} };
    QTest::newRow("rows overlap") << Request{ 1, { 8, 8 }, 7, 0, {} };
    QTest::newRow("too many bytes") << Request{ 1, { 32768, 32768 }, 32768, 0, {} };
    QTest::newRow("overflow") << Request{ 1, { 8, 8 }, std::numeric_limits<qsizetype>::max() / 4, 0,
        {} };
    QTest::newRow("memory below zero") << Request{ 1, { 8, 8 }, 8, -1, {} };
    QTest::newRow("too much memory") << Request{ 1, { 8, 8 }, 8, largestPicture + 1, {} };
}

void DecoderMessagesTest::refusesHostileRequests()
{
    QFETCH(Request, request);

    QVERIFY(!readRequest(written(request)));
}

VELLUMCAP_TEST(DecoderMessagesTest)

#include "tst_decodermessages.moc"
