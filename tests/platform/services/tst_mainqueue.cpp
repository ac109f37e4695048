#include "platform/services/Dispatch.h"
#include "tests/support/TestMain.h"

#include <QElapsedTimer>
#include <QThread>

#include <stdexcept>
#include <thread>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

/// The parts of Dispatch that run jobs on the main thread.
class MainQueueTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void runsJobsInTheEventLoopInOrder();
    void runsJobsOfOtherThreadsOnTheMainThread();
    void dropsAJobWhoseGuardHasExpired();
    void continuesAfterAnException();
    void runsAfterTheDelay_data();
    void runsAfterTheDelay();
    void dropsADelayedJobWhoseGuardHasExpired();
};

namespace {

std::shared_ptr<const void> newGuard()
{
    return std::make_shared<char>();
}

} // namespace

void MainQueueTest::runsJobsInTheEventLoopInOrder()
{
    QList<int> seen;
    for (int number = 0; number < 3; ++number) {
        platform::dispatchMain([&seen, number] { seen.append(number); });
    }
    QCOMPARE(seen, QList<int>());
    QTRY_COMPARE(seen, QList<int>({ 0, 1, 2 }));
}

void MainQueueTest::runsJobsOfOtherThreadsOnTheMainThread()
{
    QThread* seen = nullptr;
    std::thread other(
        [&seen] { platform::dispatchMain([&seen] { seen = QThread::currentThread(); }); });
    other.join();
    QTRY_COMPARE(seen, qApp->thread());
}

void MainQueueTest::dropsAJobWhoseGuardHasExpired()
{
    QStringList seen;
    auto expired = newGuard();
    const auto kept = newGuard();
    platform::dispatchMain(expired, [&seen] { seen.append(u"expired"_s); });
    platform::dispatchMain(kept, [&seen] { seen.append(u"kept"_s); });
    expired.reset();
    QTRY_COMPARE(seen, QStringList{ u"kept"_s });
}

void MainQueueTest::continuesAfterAnException()
{
    QTest::ignoreMessage(QtInfoMsg, "A job failed: out of luck");
    bool hasContinued = false;
    platform::dispatchMain([] { throw std::runtime_error("out of luck"); });
    platform::dispatchMain([&hasContinued] { hasContinued = true; });
    QTRY_VERIFY(hasContinued);
}

void MainQueueTest::runsAfterTheDelay_data()
{
    QTest::addColumn<bool>("fromAnotherThread");
    QTest::newRow("main thread") << false;
    QTest::newRow("another thread") << true;
}

void MainQueueTest::runsAfterTheDelay()
{
    QFETCH(bool, fromAnotherThread);

    const auto guard = newGuard();
    qint64 waited = -1;
    QThread* seen = nullptr;
    QElapsedTimer clock;
    clock.start();
    const auto submit = [&] {
        platform::dispatchMainAfter(60ms, guard, [&] {
            waited = clock.elapsed();
            seen = QThread::currentThread();
        });
    };
    if (fromAnotherThread) {
        std::thread(submit).join();
    } else {
        submit();
    }
    QTRY_COMPARE(seen, qApp->thread());
    QVERIFY2(waited >= 60, qPrintable(QString::number(waited)));
}

void MainQueueTest::dropsADelayedJobWhoseGuardHasExpired()
{
    QStringList seen;
    auto expired = newGuard();
    const auto kept = newGuard();
    platform::dispatchMainAfter(10ms, expired, [&seen] { seen.append(u"expired"_s); });
    platform::dispatchMainAfter(20ms, kept, [&seen] { seen.append(u"kept"_s); });
    expired.reset();
    QTRY_COMPARE(seen, QStringList{ u"kept"_s });
}

VELLUMCAP_TEST(MainQueueTest)

#include "tst_mainqueue.moc"
