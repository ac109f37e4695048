#include "platform/barcode/isolation/RateLimit.h"
#include "tests/support/TestMain.h"

using namespace std::chrono_literals;
using platform::decoder::RateLimit;

class RateLimitTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void letsABurstThrough();
    void thenOneForEachInterval();
    void forgetsWhatIsLongPast();
};

namespace {

const auto begin = RateLimit::Clock::time_point() + 1000h;

RateLimit spent(int burst)
{
    RateLimit limit(1s, burst);
    for (int i = 0; i < burst; ++i) {
        limit.count(begin);
    }
    return limit;
}

} // namespace

void RateLimitTest::letsABurstThrough()
{
    RateLimit limit(1s, 3);
    for (int i = 0; i < 3; ++i) {
        QVERIFY(limit.next() <= begin);
        limit.count(begin);
    }
    QVERIFY(limit.next() > begin);
}

void RateLimitTest::thenOneForEachInterval()
{
    RateLimit limit = spent(3);
    QCOMPARE(limit.next(), begin + 1s);
    limit.count(begin + 1s);
    QCOMPARE(limit.next(), begin + 2s);
    QCOMPARE(spent(1).next(), begin + 1s);
}

void RateLimitTest::forgetsWhatIsLongPast()
{
    RateLimit limit = spent(3);
    const auto later = begin + 1h;
    for (int i = 0; i < 3; ++i) {
        QVERIFY(limit.next() <= later);
        limit.count(later);
    }
    QCOMPARE(limit.next(), later + 1s);
}

VELLUMCAP_TEST(RateLimitTest)

#include "tst_ratelimit.moc"
