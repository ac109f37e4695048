// Threads: std
#include "platform/services/Dispatch.h"
#include "tests/support/TestMain.h"
#include "tests/support/Threads.h"

#include <atomic>
#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

using platform::QualityOfService;
using namespace Qt::StringLiterals;

class DispatchTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void runsUserInitiatedJobsSideBySide();
    void runsUtilityJobsOneAtATimeInOrder();
    void runsSerialJobsOneAtATimeInOrder();
    void finishesTheSerialQueueInItsDestructor();
    void takesJobsFromManyThreads();
    void continuesAfterAnException();
    void destroysAJobWhenItIsDone();
    void finishesTheGlobalQueues(); // the last one: the queues run no jobs afterwards
};

namespace {

constexpr int jobCount = 200;

QList<int> ascending()
{
    QList<int> numbers;
    for (int number = 0; number < jobCount; ++number) {
        numbers.append(number);
    }
    return numbers;
}

} // namespace

void DispatchTest::runsUserInitiatedJobsSideBySide()
{
    std::promise<void> firstRuns;
    std::promise<void> secondRuns;
    std::promise<void> firstIsDone;
    platform::dispatchGlobal(QualityOfService::UserInitiated, [&] {
        firstRuns.set_value();
        secondRuns.get_future().wait();
        firstIsDone.set_value();
    });
    platform::dispatchGlobal(QualityOfService::UserInitiated, [&] {
        firstRuns.get_future().wait();
        secondRuns.set_value();
    });
    QCOMPARE(
        firstIsDone.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

void DispatchTest::runsUtilityJobsOneAtATimeInOrder()
{
    QList<int> seen; // without a lock: one thread must run all jobs
    std::promise<void> done;
    for (int number = 0; number < jobCount; ++number) {
        platform::dispatchGlobal(
            QualityOfService::Utility, [&seen, number] { seen.append(number); });
    }
    platform::dispatchGlobal(QualityOfService::Utility, [&done] { done.set_value(); });
    done.get_future().wait();
    QCOMPARE(seen, ascending());
}

void DispatchTest::runsSerialJobsOneAtATimeInOrder()
{
    QList<int> seen;
    std::promise<std::thread::id> thread;
    platform::SerialQueue queue("aQueue");
    for (int number = 0; number < jobCount; ++number) {
        queue.async([&seen, number] { seen.append(number); });
    }
    queue.async([&thread] { thread.set_value(std::this_thread::get_id()); });
    QVERIFY(thread.get_future().get() != std::this_thread::get_id());
    QCOMPARE(support::threadsNamed(u"aQueue"_s), 1);
    QCOMPARE(seen, ascending());
}

void DispatchTest::finishesTheSerialQueueInItsDestructor()
{
    QList<int> seen;
    {
        platform::SerialQueue queue("aQueue");
        for (int number = 0; number < jobCount; ++number) {
            queue.async([&seen, number] { seen.append(number); });
        }
    }
    QCOMPARE(seen, ascending());
}

void DispatchTest::takesJobsFromManyThreads()
{
    constexpr int writerCount = 4;
    std::atomic<int> sum = 0;
    {
        platform::SerialQueue queue("aQueue");
        std::vector<std::thread> writers;
        writers.reserve(writerCount);
        for (int writer = 0; writer < writerCount; ++writer) {
            writers.emplace_back([&] {
                for (int number = 0; number < jobCount; ++number) {
                    queue.async([&sum] { ++sum; });
                }
            });
        }
        for (std::thread& writer : writers) {
            writer.join();
        }
    }
    QCOMPARE(sum.load(), writerCount * jobCount);
}

void DispatchTest::continuesAfterAnException()
{
    QTest::ignoreMessage(QtInfoMsg, "A job failed: out of luck");
    QTest::ignoreMessage(QtInfoMsg, "A job failed");
    bool wentOn = false;
    {
        platform::SerialQueue queue("aQueue");
        queue.async([] { throw std::runtime_error("out of luck"); });
        queue.async([] { throw 7; });
        queue.async([&wentOn] { wentOn = true; });
    }
    QVERIFY(wentOn);
}

void DispatchTest::destroysAJobWhenItIsDone()
{
    platform::SerialQueue queue("aQueue");
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> observed = held;
    queue.async([held = std::move(held)] { Q_UNUSED(held); });
    std::promise<bool> isGone;
    queue.async([&] { isGone.set_value(observed.expired()); });
    QVERIFY(isGone.get_future().get());
}

void DispatchTest::finishesTheGlobalQueues()
{
    std::atomic<int> done = 0;
    for (const auto quality : { QualityOfService::UserInitiated, QualityOfService::Utility }) {
        for (int number = 0; number < jobCount; ++number) {
            platform::dispatchGlobal(quality, [&done] { ++done; });
        }
    }
    std::promise<void> released;
    platform::dispatchGlobal(
        QualityOfService::UserInitiated, [&released] { released.get_future().wait(); });
    platform::beforeGlobalQueuesFinish([&released] { released.set_value(); });
    platform::finishGlobalQueues();
    QCOMPARE(done.load(), 2 * jobCount);

    auto dropped = std::make_shared<int>(1);
    const std::weak_ptr<int> observed = dropped;
    platform::dispatchGlobal(
        QualityOfService::Utility, [&done, dropped = std::move(dropped)] { done += *dropped; });
    QVERIFY(observed.expired());
    QCOMPARE(done.load(), 2 * jobCount);
}

VELLUMCAP_TEST(DispatchTest)

#include "tst_dispatch.moc"
