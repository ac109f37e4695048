#include "platform/services/Dispatch.h"
#include "tests/support/TestMain.h"

#include <QElapsedTimer>
#include <QThread>

#include <stdexcept>
#include <thread>

using Qt::StringLiterals::operator""_s;

using namespace std::chrono_literals;

/// What Dispatch runs on the main thread.
class MainQueueTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void runsJobsInTheEventLoopInOrder();
    void runsJobsOfOtherThreadsOnTheMainThread();
    void dropsAJobWhoseGuardIsGone();
    void goesOnAfterAnException();
    void runsAfterTheDelay_data();
    void runsAfterTheDelay();
    void dropsADelayedJobWhoseGuardIsGone();
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

void MainQueueTest::dropsAJobWhoseGuardIsGone()
{
    QStringList seen;
    auto gone = newGuard();
    const auto kept = newGuard();
    platform::dispatchMain(gone, [&seen] { seen.append(u"gone"_s); });
    platform::dispatchMain(kept, [&seen] { seen.append(u"kept"_s); });
    gone.reset();
    QTRY_COMPARE(seen, QStringList{ u"kept"_s });
}

void MainQueueTest::goesOnAfterAnException()
{
    QTest::ignoreMessage(QtInfoMsg, "A job failed: out of luck");
    bool wentOn = false;
    platform::dispatchMain([] { throw std::runtime_error("out of luck"); });
    platform::dispatchMain([&wentOn] { wentOn = true; });
    QTRY_VERIFY(wentOn);
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

void MainQueueTest::dropsADelayedJobWhoseGuardIsGone()
{
    QStringList seen;
    auto gone = newGuard();
    const auto kept = newGuard();
    platform::dispatchMainAfter(10ms, gone, [&seen] { seen.append(u"gone"_s); });
    platform::dispatchMainAfter(20ms, kept, [&seen] { seen.append(u"kept"_s); });
    gone.reset();
    QTRY_COMPARE(seen, QStringList{ u"kept"_s });
}

VELLUMCAP_TEST(MainQueueTest)

#include "tst_mainqueue.moc"
