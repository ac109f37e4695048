// Threads: std
#include "platform/camera/FrameMailbox.h"
#include "tests/support/TestMain.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

using platform::SerialQueue;
using Mailbox = platform::FrameMailbox<int>;

class FrameMailboxTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void deliversInOrder();
    void keepsTheNewestForABusyReceiver();
    void takesFramesFromManyThreads();
    void deliversNothingAfterClearing();
    void waitsForItsReceiverInItsDestructor();
    void mayDestroyItsQueue();
    void doesNotWaitForItself();
    void continuesAfterAnException();
};

namespace {

/// Blocks a receiver until it is opened.
class Gate {
public:
    void pass()
    {
        m_entered.set_value();
        m_opened.get_future().wait();
    }
    void awaitEntry() { m_entered.get_future().wait(); }
    void open() { m_opened.set_value(); }

private:
    std::promise<void> m_entered;
    std::promise<void> m_opened;
};

/// Returns when `queue` has run all jobs submitted before.
void drain(SerialQueue& queue)
{
    std::promise<void> done;
    queue.async([&done] { done.set_value(); });
    done.get_future().wait();
}

} // namespace

void FrameMailboxTest::deliversInOrder()
{
    const auto queue = std::make_shared<SerialQueue>("frames");
    std::vector<int> received;
    Mailbox mailbox(queue, [&received](int frame) { received.push_back(frame); });
    for (int frame = 1; frame <= 3; ++frame) {
        mailbox.put(frame);
        drain(*queue);
    }
    QCOMPARE(received, std::vector<int>({ 1, 2, 3 }));
}

void FrameMailboxTest::keepsTheNewestForABusyReceiver()
{
    const auto queue = std::make_shared<SerialQueue>("frames");
    Gate gate;
    std::vector<int> received;
    Mailbox mailbox(queue, [&gate, &received](int frame) {
        received.push_back(frame);
        if (frame == 1) {
            gate.pass();
        }
    });
    mailbox.put(1);
    gate.awaitEntry();
    for (int frame = 2; frame <= 9; ++frame) {
        mailbox.put(frame);
    }
    gate.open();
    drain(*queue);
    QCOMPARE(received, std::vector<int>({ 1, 9 }));
}

void FrameMailboxTest::takesFramesFromManyThreads()
{
    constexpr int producerCount = 4;
    constexpr int framesEach = 5000;
    const auto queue = std::make_shared<SerialQueue>("frames");
    std::vector<int> received;
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    std::mutex numbering;
    int last = 0;
    {
        Mailbox mailbox(queue, [&](int frame) {
            most = std::max<int>(most, ++running);
            received.push_back(frame);
            --running;
        });
        std::vector<std::thread> producers;
        producers.reserve(producerCount);
        for (int producer = 0; producer < producerCount; ++producer) {
            producers.emplace_back([&] {
                for (int count = 0; count < framesEach; ++count) {
                    const std::lock_guard lock(numbering);
                    mailbox.put(++last);
                }
            });
        }
        for (std::thread& producer : producers) {
            producer.join();
        }
        drain(*queue);
    }
    QCOMPARE(most, 1);
    QCOMPARE(received.back(), producerCount * framesEach);
    QVERIFY(std::is_sorted(received.begin(), received.end(), std::less_equal()));
}

void FrameMailboxTest::deliversNothingAfterClearing()
{
    const auto queue = std::make_shared<SerialQueue>("frames");
    Gate gate;
    std::vector<int> received;
    Mailbox mailbox(queue, [&received](int frame) { received.push_back(frame); });
    queue->async([&gate] { gate.pass(); });
    gate.awaitEntry();
    mailbox.put(1);
    mailbox.clear();
    gate.open();
    drain(*queue);
    QVERIFY(received.empty());
    mailbox.put(2);
    drain(*queue);
    QCOMPARE(received, std::vector<int>({ 2 }));
}

void FrameMailboxTest::waitsForItsReceiverInItsDestructor()
{
    constexpr int rounds = 200;
    const auto queue = std::make_shared<SerialQueue>("frames");
    for (int round = 0; round < rounds; ++round) {
        std::atomic<bool> isReceiving = false;
        int received = 0; // not atomic: the destructor of the mailbox synchronises it
        auto mailbox = std::make_unique<Mailbox>(queue, [&isReceiving, &received](int) {
            isReceiving = true;
            ++received;
            isReceiving = false;
        });
        for (int frame = 0; frame < 20; ++frame) {
            mailbox->put(frame);
        }
        mailbox.reset();
        QVERIFY(!isReceiving);
        const int receivedBefore = received;
        drain(*queue);
        QCOMPARE(received, receivedBefore);
    }
}

void FrameMailboxTest::mayDestroyItsQueue()
{
    Gate gate;
    auto queue = std::make_shared<SerialQueue>("frames");
    const std::weak_ptr<SerialQueue> watched = queue;
    auto mailbox = std::make_unique<Mailbox>(queue, [](int) {});
    queue->async([&gate] { gate.pass(); });
    gate.awaitEntry();
    mailbox->put(1);
    queue.reset();
    std::thread opener([&gate] { gate.open(); });
    mailbox.reset(); // the last owner of the queue, whose thread may hold the mailbox's job
    QVERIFY(watched.expired());
    opener.join();
}

void FrameMailboxTest::doesNotWaitForItself()
{
    const auto queue = std::make_shared<SerialQueue>("frames");
    std::unique_ptr<Mailbox> mailbox;
    std::promise<void> gone;
    mailbox = std::make_unique<Mailbox>(queue, [&mailbox, &gone](int) {
        mailbox->waitUntilIdle();
        mailbox.reset();
        gone.set_value();
    });
    mailbox->put(1);
    QCOMPARE(gone.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    drain(*queue);
}

void FrameMailboxTest::continuesAfterAnException()
{
    const auto queue = std::make_shared<SerialQueue>("frames");
    std::vector<int> received;
    Mailbox mailbox(queue, [&received](int frame) {
        received.push_back(frame);
        if (frame == 1) {
            throw std::runtime_error("thrown on purpose");
        }
    });
    QTest::ignoreMessage(QtInfoMsg, "A job failed: thrown on purpose");
    for (int frame = 1; frame <= 2; ++frame) {
        mailbox.put(frame);
        drain(*queue);
    }
    QCOMPARE(received, std::vector<int>({ 1, 2 }));
}

VELLUMCAP_TEST(FrameMailboxTest)
#include "tst_framemailbox.moc"
