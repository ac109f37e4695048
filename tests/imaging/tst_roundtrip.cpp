// Draws codes of texts and reads them back with two independent libraries.

#include "imaging/CodeBitmap.h"
#include "platform/barcode/QRCodeGenerator.h"
#include "tests/support/CodeReading.h"
#include "tests/support/TestMain.h"

#include <random>

using platform::QRCodeGenerator::outputImage;
using support::readByZBar;
using support::readByZXing;

namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr int texts = 250;
#else
constexpr int texts = 2400;
#endif

/// The code as on a page: a few pixels for each module, and a white margin.
QImage onPaper(const QImage& modules, int modulePixels)
{
    constexpr int margin = 4; // modules
    QImage paper((modules.width() + 2 * margin) * modulePixels,
        (modules.height() + 2 * margin) * modulePixels, QImage::Format_Grayscale8);
    paper.fill(0xff);
    for (int y = 0; y < modules.height() * modulePixels; ++y) {
        const uchar* source = modules.constScanLine(y / modulePixels);
        uchar* line = paper.scanLine(y + margin * modulePixels) + margin * modulePixels;
        for (int x = 0; x < modules.width() * modulePixels; ++x) {
            line[x] = source[x / modulePixels];
        }
    }
    return paper;
}

class Random {
public:
    explicit Random(quint32 seed)
        : m_engine(seed)
    {
    }

    int upTo(int most) { return std::uniform_int_distribution(0, most)(m_engine); }

    /// Mostly short, sometimes the greatest length that fits.
    int length(int most)
    {
        const int scale = upTo(19);
        return 1 + upTo((scale == 0 ? most : scale < 4 ? most / 8 : most / 40) - 1);
    }

    template <typename List> const auto& oneOf(const List& list)
    {
        return list.at(static_cast<size_t>(upTo(static_cast<int>(list.size()) - 1)));
    }

private:
    std::mt19937 m_engine;
};

QByteArray charactersOf(Random& random, const QByteArray& set, int length)
{
    QByteArray made;
    while (made.size() < length) {
        made.append(set.at(random.upTo(static_cast<int>(set.size()) - 1)));
    }
    return made;
}

QByteArray address(Random& random, int length)
{
    static const QByteArray unreserved
        = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~%/?&=#";
    return "https://example.org/" + charactersOf(random, unreserved, length);
}

/// Letters of several scripts, ideographs, combining marks, emoji and line ends.
QByteArray scripts(Random& random, int bytes)
{
    struct Range {
        char32_t first;
        char32_t last;
    };
    static constexpr std::array ranges{ Range{ 'a', 'z' }, Range{ 0xe0, 0xff },
        Range{ 0x3b1, 0x3c9 }, Range{ 0x430, 0x44f }, Range{ 0x5d0, 0x5ea }, Range{ 0x627, 0x64a },
        Range{ 0x905, 0x939 }, Range{ 0xe01, 0xe2e }, Range{ 0x3042, 0x3093 },
        Range{ 0x4e00, 0x9fff }, Range{ 0xac00, 0xd7a3 }, Range{ 0x300, 0x36f },
        Range{ 0x1f600, 0x1f64f }, Range{ '\n', '\n' } };
    QByteArray made;
    while (made.size() < bytes) {
        const Range& range = random.oneOf(ranges);
        for (int run = random.upTo(8); run >= 0; --run) {
            const char32_t letter = range.first
                + static_cast<char32_t>(random.upTo(static_cast<int>(range.last - range.first)));
            made.append(QString::fromUcs4(&letter, 1).toUtf8());
        }
    }
    return made;
}

QByteArray mixed(Random& random, int length)
{
    QByteArray made;
    while (made.size() < length) {
        made.append(charactersOf(random, "0123456789", random.upTo(20)));
        made.append(charactersOf(random, "ABCXYZ $%*+-./:", random.upTo(20)));
        made.append(scripts(random, random.upTo(12)));
        made.append("\r\n");
    }
    return made;
}

QByteArray anyBytes(Random& random, int length)
{
    QByteArray made;
    while (made.size() < length) {
        made.append(char(random.upTo(255)));
    }
    return made;
}

QByteArray text(Random& random, int kind)
{
    switch (kind) {
    case 0:
        return charactersOf(random, "0123456789", random.length(5596));
    case 1:
        return charactersOf(
            random, "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 $%*+-./:", random.length(3391));
    case 2:
        return address(random, random.length(2300));
    case 3:
        return scripts(random, random.length(2300));
    case 4:
        return mixed(random, random.length(2200));
    default:
        return anyBytes(random, random.length(2331));
    }
}

} // namespace

class RoundTripTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everyTextIsReadBack();
    void theLargestAreReadBack_data();
    void theLargestAreReadBack();
    void unscaledBitmapsAreReadBack_data();
    void unscaledBitmapsAreReadBack();
};

void RoundTripTest::everyTextIsReadBack()
{
    Random random(20260);
    int misses[2]{};
    for (int i = 0; i < texts; ++i) {
        const QByteArray message = text(random, i % 6);
        const QImage modules = outputImage(message);
        QVERIFY2(!modules.isNull(), qPrintable(QString::number(message.size())));
        const QImage picture = onPaper(modules, 3);
        if (readByZXing(picture) != message) {
            ++misses[0];
            qWarning() << "zxing" << i % 6 << modules.width() << message.size();
        }
        if (readByZBar(picture) != message) {
            ++misses[1];
            qWarning() << "zbar" << i % 6 << modules.width() << message.size();
        }
    }
    QCOMPARE(misses[0], 0);
    QCOMPARE(misses[1], 0);
}

void RoundTripTest::theLargestAreReadBack_data()
{
    QTest::addColumn<QByteArray>("message");
    Random random(3);
    QTest::newRow("one byte") << QByteArray("a");
    QTest::newRow("one NUL") << QByteArray(1, '\0');
    QTest::newRow("5596 digits") << charactersOf(random, "0123456789", 5596);
    QTest::newRow("3391 capitals") << charactersOf(random, "ABCXYZ $%*+-./:", 3391);
    QTest::newRow("2331 bytes") << anyBytes(random, 2331);
    QTest::newRow("777 ideographs") << QString(777, QChar(0x6f22)).toUtf8();
    QTest::newRow("Shift JIS") << QByteArray("\x8a\xbf\x8e\x9a\x93\x5f");
}

void RoundTripTest::theLargestAreReadBack()
{
    QFETCH(QByteArray, message);
    const QImage picture = onPaper(outputImage(message), 4);
    QCOMPARE(readByZXing(picture), message);
    QCOMPARE(readByZBar(picture), message);
}

void RoundTripTest::unscaledBitmapsAreReadBack_data()
{
    QTest::addColumn<int>("length");
    for (const int length : { 1, 14, 15, 60, 180, 400, 711, 712, 1400, 2331 }) {
        QTest::addRow("%d bytes", length) << length;
    }
}

void RoundTripTest::unscaledBitmapsAreReadBack()
{
    QFETCH(int, length);
    Random random(static_cast<quint32>(length));
    const QByteArray message = address(random, length).right(length);
    const QImage bitmap = vellumcap::codeBitmap(outputImage(message));
    QCOMPARE(readByZXing(bitmap), message);
    QCOMPARE(readByZBar(bitmap), message);
}

VELLUMCAP_TEST(RoundTripTest)
#include "tst_roundtrip.moc"
