// Threads: std
#include "camera/CodeOnOffer.h"
#include "tests/support/TestMain.h"

#include <array>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

using vellumcap::CodeOnOffer;

namespace {

QImage picture(QRgb colour)
{
    QImage result(4, 4, QImage::Format_RGB32);
    result.fill(colour);
    return result;
}

// A separate one in each thread, so that the threads share only the object under test.
QString text(int number)
{
    return u"code %1"_s.arg(number);
}

} // namespace

class CodeOnOfferTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void startsEmpty();
    void offersANewCode();
    void offersACodeOnce();
    void offersAnEmptyTextAtFirst();
    void offersATextAgainAfterAnother();
    void keepsTheTextWhenTheWindowIsReset();
    void keepsADeepCopyOfTheText();
    void isConsistentWithManyThreads();
};

void CodeOnOfferTest::startsEmpty()
{
    const CodeOnOffer offer;

    QCOMPARE(offer.captureState(), 0);
    QVERIFY(!offer.captureData());
    QVERIFY(offer.capturedImage().isNull());
}

void CodeOnOfferTest::offersANewCode()
{
    CodeOnOffer offer;

    QVERIFY(offer.accept(u"A"_s, picture(0xFF112233)));

    QCOMPARE(offer.captureState(), 1);
    QCOMPARE(offer.captureData(), u"A"_s);
    QCOMPARE(offer.capturedImage(), picture(0xFF112233));
}

void CodeOnOfferTest::offersACodeOnce()
{
    CodeOnOffer offer;
    QVERIFY(offer.accept(u"A"_s, picture(1)));
    offer.setCaptureState(0);

    QVERIFY(!offer.accept(u"A"_s, picture(2)));

    QCOMPARE(offer.captureState(), 0);
    QCOMPARE(offer.capturedImage(), picture(1));
}

void CodeOnOfferTest::offersAnEmptyTextAtFirst()
{
    CodeOnOffer offer;

    QVERIFY(offer.accept(QString(), picture(1)));
    QVERIFY(!offer.accept(u""_s, picture(1)));
}

void CodeOnOfferTest::offersATextAgainAfterAnother()
{
    CodeOnOffer offer;

    QVERIFY(offer.accept(u"A"_s, picture(1)));
    QVERIFY(offer.accept(u"B"_s, picture(2)));
    QVERIFY(offer.accept(u"A"_s, picture(3)));

    QCOMPARE(offer.captureData(), u"A"_s);
    QCOMPARE(offer.capturedImage(), picture(3));
}

void CodeOnOfferTest::keepsTheTextWhenTheWindowIsReset()
{
    CodeOnOffer offer;
    QVERIFY(offer.accept(u"A"_s, picture(1)));

    offer.setCapturedImage(QImage());
    offer.setCaptureState(0);

    QVERIFY(offer.capturedImage().isNull());
    QCOMPARE(offer.captureData(), u"A"_s);
}

void CodeOnOfferTest::keepsADeepCopyOfTheText()
{
    CodeOnOffer offer;
    const QString given = text(1);
    QVERIFY(offer.accept(given, picture(1)));

    QVERIFY(offer.captureData()->constData() != given.constData());
}

void CodeOnOfferTest::isConsistentWithManyThreads()
{
    constexpr int rounds = 500;
    constexpr int detections = 3;
    CodeOnOffer offer;
    std::array<int, detections> accepted{};
    std::atomic<bool> isTorn = false;
    {
        std::vector<std::jthread> workers;
        workers.reserve(accepted.size());
        for (int& count : accepted) {
            workers.emplace_back([&offer, &count] {
                for (int round = 0; round < rounds; ++round) {
                    count += offer.accept(text(round % 7), picture(0xFF445566)) ? 1 : 0;
                }
            });
        }
        const std::jthread window([&offer, &isTorn] {
            for (int round = 0; round < rounds; ++round) {
                const auto data = offer.captureData();
                const QImage image = offer.capturedImage();
                if ((data && !data->startsWith(u"code "_s))
                    || (!image.isNull() && image.pixel(3, 3) != 0xFF445566)) {
                    isTorn = true;
                }
                offer.setCapturedImage(QImage());
                offer.setCaptureState(0);
            }
        });
    }

    QVERIFY(!isTorn);
    for (const int count : accepted) {
        QVERIFY(count <= rounds);
    }
    QVERIFY(accepted.at(0) + accepted.at(1) + accepted.at(2) >= 7);
    QVERIFY(offer.captureData()->startsWith(u"code "_s));
}

VELLUMCAP_TEST(CodeOnOfferTest)
#include "tst_codeonoffer.moc"
