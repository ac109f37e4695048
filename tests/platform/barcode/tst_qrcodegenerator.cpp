#include "platform/barcode/QRCodeGenerator.h"
#include "platform/barcode/QRSplitter.h"
#include "tests/support/TestMain.h"

#include <qrencode.h>

#include <ctime>
#include <memory>
#include <random>

using platform::QRMode;
using platform::QRSegment;
using platform::QRSplitter;
namespace QRCodeGenerator = platform::QRCodeGenerator;

namespace {

/// With the quiet zone.
int extentOf(int version)
{
    return 17 + 4 * version + 2;
}

int versionOf(const QByteArray& message)
{
    const QImage image = QRCodeGenerator::outputImage(message);
    return image.isNull() ? 0 : (image.width() - 19) / 4;
}

using Code = std::unique_ptr<QRcode, decltype(&QRcode_free)>;

/// What libqrencode makes of it when it splits the text itself.
int libraryVersionOf(const QByteArray& text)
{
    const Code code(
        QRcode_encodeString(text.constData(), 0, QR_ECLEVEL_M, QR_MODE_8, 1), QRcode_free);
    return code == nullptr ? 0 : code->version;
}

struct Costs {
    int digits;
    int letters;
    int bytes;
};

/// Bits of one segment, straight from the standard; -1 where the mode cannot hold it.
qint64 segmentBits(QRMode mode, const QByteArray& run, const Costs& counts)
{
    static const QByteArray letters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ $%*+-./:";
    const auto consistsOf = [&run](const QByteArray& set) {
        return std::all_of(run.begin(), run.end(), [&](char c) { return set.contains(c); });
    };
    const qsizetype n = run.size();
    switch (mode) {
    case QRMode::Numeric: {
        constexpr int rest[]{ 0, 4, 7 };
        return consistsOf(letters.left(10)) ? 4 + counts.digits + n / 3 * 10 + rest[n % 3] : -1;
    }
    case QRMode::Alphanumeric:
        return consistsOf(letters) ? 4 + counts.letters + n / 2 * 11 + n % 2 * 6 : -1;
    case QRMode::Byte:
        return 4 + counts.bytes + n * 8;
    }
    return -1;
}

/// The fewest bits over every way to cut the message.
qint64 fewestBits(const QByteArray& message, const Costs& counts)
{
    std::vector<qint64> fewest{ 0 };
    for (qsizetype end = 1; end <= message.size(); ++end) {
        qint64 best = std::numeric_limits<qint64>::max();
        for (qsizetype begin = 0; begin < end; ++begin) {
            for (const QRMode mode : { QRMode::Numeric, QRMode::Alphanumeric, QRMode::Byte }) {
                const qint64 bits = segmentBits(mode, message.mid(begin, end - begin), counts);
                if (bits >= 0) {
                    best = std::min(best, fewest[size_t(begin)] + bits);
                }
            }
        }
        fewest.push_back(best);
    }
    return fewest.back();
}

class Random {
public:
    explicit Random(quint32 seed)
        : m_engine(seed)
    {
    }

    int upTo(int most) { return std::uniform_int_distribution(0, most)(m_engine); }

    /// Runs of digits, capitals and bytes, as addresses and identifiers have them.
    QByteArray message(int longest)
    {
        static const QByteArray sets[]{ "0123456789", "ABCDEFGHIJKLMNOPQRSTUVWXYZ $%*+-./:",
            "abcdefghijklmnopqrstuvwxyz\n\xc3\xa4\xe6\xbc\xa2\xf0\x9f\x98\x80" };
        QByteArray made;
        const int length = 1 + upTo(longest - 1);
        while (made.size() < length) {
            const QByteArray& set = sets[upTo(2)];
            for (int left = 1 + upTo(14); left > 0 && made.size() < length; --left) {
                made.append(set.at(upTo(int(set.size()) - 1)));
            }
        }
        return made;
    }

private:
    std::mt19937 m_engine;
};

} // namespace

class QRCodeGeneratorTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void drawsVersionOneWithAQuietZoneOfOne();
    void matchesTheLibraryModuleByModule();
    void fillsEachVersionToTheLast_data();
    void fillsEachVersionToTheLast();
    void everyVersionHoldsWhatTheLibraryHolds();
    void countsTheBytesThatAreTooMany();
    void refusesWhatNoCodeHolds();
    void splitsWithTheFewestBits_data();
    void splitsWithTheFewestBits();
    void coversTheMessageInOrder();
    void isNeverLargerThanTheLibrarysOwn();
    void isQuickWithHugeTexts();
};

void QRCodeGeneratorTest::drawsVersionOneWithAQuietZoneOfOne()
{
    const QImage image = QRCodeGenerator::outputImage("hello");
    QCOMPARE(image.size(), QSize(23, 23));
    QCOMPARE(image.format(), QImage::Format_Grayscale8);
    for (int y = 0; y < 23; ++y) {
        for (int x = 0; x < 23; ++x) {
            const int grey = image.constScanLine(y)[x];
            QVERIFY(grey == 0 || grey == 255);
            if (x == 0 || y == 0 || x == 22 || y == 22) {
                QCOMPARE(grey, 255);
            }
        }
    }
    // The corner of a finder pattern, the ring within it, its heart.
    QCOMPARE(int(image.constScanLine(1)[1]), 0);
    QCOMPARE(int(image.constScanLine(2)[2]), 255);
    QCOMPARE(int(image.constScanLine(4)[4]), 0);
}

void QRCodeGeneratorTest::matchesTheLibraryModuleByModule()
{
    const QByteArray message = "only lower case, hence one segment";
    const Code code(QRcode_encodeData(int(message.size()),
                        reinterpret_cast<const uchar*>(message.constData()), 0, QR_ECLEVEL_M),
        QRcode_free);
    const QImage image = QRCodeGenerator::outputImage(message);
    QCOMPARE(image.width(), code->width + 2);
    for (int y = 0; y < code->width; ++y) {
        for (int x = 0; x < code->width; ++x) {
            const bool dark = (code->data[y * code->width + x] & 1) != 0;
            QCOMPARE(image.constScanLine(y + 1)[x + 1] == 0, dark);
        }
    }
}

void QRCodeGeneratorTest::fillsEachVersionToTheLast_data()
{
    // ISO/IEC 18004, table 7, level M.
    QTest::addColumn<int>("version");
    QTest::addColumn<QByteArray>("unit");
    QTest::addColumn<int>("most");
    const struct {
        int version;
        int digits;
        int letters;
        int bytes;
    } capacities[]{ { 1, 34, 20, 14 }, { 2, 63, 38, 26 }, { 9, 432, 262, 180 },
        { 10, 513, 311, 213 }, { 26, 2544, 1542, 1059 }, { 27, 2701, 1637, 1125 },
        { 39, 5313, 3220, 2213 }, { 40, 5596, 3391, 2331 } };
    for (const auto& row : capacities) {
        QTest::addRow("%d digits", row.version) << row.version << QByteArray("7") << row.digits;
        QTest::addRow("%d capitals", row.version) << row.version << QByteArray("Q") << row.letters;
        QTest::addRow("%d bytes", row.version) << row.version << QByteArray("q") << row.bytes;
        QTest::addRow("%d NULs", row.version) << row.version << QByteArray(1, '\0') << row.bytes;
    }
}

void QRCodeGeneratorTest::fillsEachVersionToTheLast()
{
    QFETCH(int, version);
    QFETCH(QByteArray, unit);
    QFETCH(int, most);
    QCOMPARE(versionOf(unit.repeated(most)), version);
    QCOMPARE(versionOf(unit.repeated(most + 1)), version == 40 ? 0 : version + 1);
    QCOMPARE(QRCodeGenerator::excessBytes(unit.repeated(most)), 0);
}

void QRCodeGeneratorTest::everyVersionHoldsWhatTheLibraryHolds()
{
    // The library knows its own capacities; ours are a table beside it.
    for (int length = 1; length <= 2331; length += 7) {
        const QByteArray message(length, '\xff');
        const Code code(QRcode_encodeData(length,
                            reinterpret_cast<const uchar*>(message.constData()), 0, QR_ECLEVEL_M),
            QRcode_free);
        QCOMPARE(versionOf(message), code->version);
    }
}

void QRCodeGeneratorTest::countsTheBytesThatAreTooMany()
{
    using QRCodeGenerator::excessBytes;
    QCOMPARE(excessBytes({}), 0);
    QCOMPARE(excessBytes(QByteArray(2331, 'x')), 0);
    QCOMPARE(excessBytes(QByteArray(2332, 'x')), 1);
    QCOMPARE(excessBytes(QByteArray(3000, 'x')), 669);
    QCOMPARE(excessBytes(QByteArray(5597, '5')), 1);
    QCOMPARE(excessBytes(QByteArray(3391, 'X') + "YZ"), 2);
    // What is left fits, and one more byte would not.
    Random random(11);
    for (int i = 0; i < 20; ++i) {
        QByteArray message = random.message(4000);
        message += message;
        const qsizetype excess = excessBytes(message);
        if (excess > 0) {
            QVERIFY(versionOf(message.chopped(excess)) > 0);
            QCOMPARE(versionOf(message.chopped(excess - 1)), 0);
        }
    }
}

void QRCodeGeneratorTest::refusesWhatNoCodeHolds()
{
    QVERIFY(QRCodeGenerator::outputImage({}).isNull());
    QVERIFY(QRCodeGenerator::outputImage(QByteArray(2332, 'x')).isNull());
    QVERIFY(QRCodeGenerator::outputImage(QByteArray(5597, '5')).isNull());
    QCOMPARE(QRCodeGenerator::outputImage(QByteArray(5596, '5')).width(), extentOf(40));
}

void QRCodeGeneratorTest::splitsWithTheFewestBits_data()
{
    QTest::addColumn<int>("version");
    QTest::newRow("1 to 9") << 9;
    QTest::newRow("10 to 26") << 10;
    QTest::newRow("27 to 40") << 40;
}

void QRCodeGeneratorTest::splitsWithTheFewestBits()
{
    QFETCH(int, version);
    const Costs counts = version <= 9 ? Costs{ 10, 9, 8 }
        : version <= 26               ? Costs{ 12, 11, 16 }
                                      : Costs{ 14, 13, 16 };
    Random random{ quint32(version) };
    for (int i = 0; i < 300; ++i) {
        const QByteArray message = random.message(60);
        QRSplitter split(version);
        for (const char byte : message) {
            split.append(uchar(byte));
        }
        const qint64 fewest = fewestBits(message, counts);
        QCOMPARE(split.bits(), fewest);
        qint64 sum = 0;
        for (const QRSegment& segment : split.segments()) {
            sum += segmentBits(segment.mode, message.mid(segment.begin, segment.length), counts);
        }
        QCOMPARE(sum, fewest);
    }
}

void QRCodeGeneratorTest::coversTheMessageInOrder()
{
    QRSplitter split(1);
    QVERIFY(split.segments().empty());
    QCOMPARE(split.bits(), 0);
    for (const char byte : QByteArray("HTTPS://EXAMPLE.ORG/abcdefgh12345678901234567890")) {
        split.append(uchar(byte));
    }
    const auto segments = split.segments();
    QCOMPARE(segments.size(), 3U);
    QCOMPARE(segments[0].mode, QRMode::Alphanumeric);
    QCOMPARE(segments[0].begin, 0);
    QCOMPARE(segments[0].length, 20);
    QCOMPARE(segments[1].mode, QRMode::Byte);
    QCOMPARE(segments[1].begin, 20);
    QCOMPARE(segments[1].length, 8);
    QCOMPARE(segments[2].mode, QRMode::Numeric);
    QCOMPARE(segments[2].begin, 28);
    QCOMPARE(segments[2].length, 20);
}

void QRCodeGeneratorTest::isNeverLargerThanTheLibrarysOwn()
{
    Random random(5);
    int smaller = 0;
    for (int i = 0; i < 600; ++i) {
        const QByteArray text = random.message(i % 10 == 0 ? 2600 : 200);
        const int ours = versionOf(text);
        const int theirs = libraryVersionOf(text);
        if (theirs > 0) {
            QVERIFY2(ours > 0 && ours <= theirs, text.toPercentEncoding().constData());
            smaller += int(ours < theirs);
        }
    }
    QVERIFY(smaller > 0); // or the library's split would do
}

void QRCodeGeneratorTest::isQuickWithHugeTexts()
{
    const QByteArray huge(64 * 1024 * 1024, '1');
    const std::clock_t before = std::clock(); // of this process, however busy the machine is
    QVERIFY(QRCodeGenerator::outputImage(huge).isNull());
    QCOMPARE(QRCodeGenerator::excessBytes(huge), huge.size() - 5596);
    QVERIFY((std::clock() - before) / CLOCKS_PER_SEC < 2);
}

VELLUMCAP_TEST(QRCodeGeneratorTest)
#include "tst_qrcodegenerator.moc"
