// Threads: std
#include "platform/services/Observers.h"
#include "tests/support/TestMain.h"

#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <thread>
#include <vector>

using platform::Observation;
using platform::Observers;
using namespace Qt::StringLiterals;

class ObserversTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void callsInTheOrderOfAdding();
    void passesArguments();
    void sharesAnAnswer();
    void endsWithItsObservation();
    void endsWhenAnotherIsAssigned();
    void survivesAMove();
    void endsItselfDuringItsCall();
    void endsItselfAndNotifiesAgain();
    void endsAnotherDuringACall();
    void addsDuringACall();
    void notifiesDuringACall();
    void outlivesTheList();
    void outlivesTheListDuringACall();
    void destroysWhatTheObserverCaptured();
    void waitsForACallOnAnotherThread_data();
    void waitsForACallOnAnotherThread();
    void addsEndsAndNotifiesOnManyThreads();
};

using End = void (*)(std::optional<Observation>&);
Q_DECLARE_METATYPE(End)

void ObserversTest::callsInTheOrderOfAdding()
{
    Observers<> observers;
    QStringList calls;
    const auto first = observers.add([&] { calls.append(u"first"_s); });
    auto second = observers.add([&] { calls.append(u"second"_s); });
    const auto third = observers.add([&] { calls.append(u"third"_s); });
    second.end();
    const auto fourth = observers.add([&] { calls.append(u"fourth"_s); });
    observers.notify();
    QCOMPARE(calls, QStringList({ u"first"_s, u"third"_s, u"fourth"_s }));
}

void ObserversTest::passesArguments()
{
    Observers<const QString&, int> observers;
    QStringList calls;
    const auto record
        = [&](const QString& key, int value) { calls.append(key + QString::number(value)); };
    const auto first = observers.add(record);
    const auto second = observers.add(record);
    observers.notify(u"zoom"_s, 3);
    QCOMPARE(calls, QStringList({ u"zoom3"_s, u"zoom3"_s }));
}

void ObserversTest::sharesAnAnswer()
{
    Observers<bool&> observers;
    int asked = 0;
    const auto first = observers.add([](bool& accepted) { accepted = false; });
    const auto second = observers.add([&](bool& accepted) { asked += accepted ? 1 : 10; });
    bool accepted = true;
    observers.notify(accepted);
    QVERIFY(!accepted);
    QCOMPARE(asked, 10);
}

void ObserversTest::endsWithItsObservation()
{
    Observers<> observers;
    int calls = 0;
    {
        const auto observation = observers.add([&] { ++calls; });
        observers.notify();
    }
    observers.notify();
    QCOMPARE(calls, 1);
}

void ObserversTest::endsWhenAnotherIsAssigned()
{
    Observers<> observers;
    QStringList calls;
    Observation observation = observers.add([&] { calls.append(u"former"_s); });
    observation = observers.add([&] { calls.append(u"latter"_s); });
    observers.notify();
    QCOMPARE(calls, QStringList({ u"latter"_s }));
}

void ObserversTest::survivesAMove()
{
    Observers<> observers;
    int calls = 0;
    std::optional<Observation> source = observers.add([&] { ++calls; });
    const Observation target = std::move(*source);
    source.reset();
    observers.notify();
    QCOMPARE(calls, 1);
}

void ObserversTest::endsItselfDuringItsCall()
{
    Observers<> observers;
    auto captured = std::make_shared<int>(1);
    const std::weak_ptr<int> observed = captured;
    QList<bool> isAlive;
    Observation observation;
    observation = observers.add([&, captured = std::move(captured)] {
        observation.end();
        isAlive.append(!observed.expired());
    });
    observers.notify();
    observers.notify();
    QCOMPARE(isAlive, QList<bool>({ true }));
    QVERIFY(observed.expired());
}

void ObserversTest::endsItselfAndNotifiesAgain()
{
    Observers<> observers;
    int calls = 0;
    Observation observation;
    observation = observers.add([&] {
        if (++calls > 1) {
            return;
        }
        observation.end();
        observers.notify();
    });
    observers.notify();
    QCOMPARE(calls, 1);
}

void ObserversTest::endsAnotherDuringACall()
{
    Observers<> observers;
    int calls = 0;
    Observation second;
    const auto first = observers.add([&] { second.end(); });
    second = observers.add([&] { ++calls; });
    observers.notify();
    QCOMPARE(calls, 0);
}

void ObserversTest::addsDuringACall()
{
    Observers<> observers;
    int calls = 0;
    std::vector<Observation> added;
    const auto adding = observers.add([&] { added.push_back(observers.add([&] { ++calls; })); });
    observers.notify();
    QCOMPARE(calls, 0);
    observers.notify();
    QCOMPARE(calls, 1);
}

void ObserversTest::notifiesDuringACall()
{
    Observers<int> observers;
    QList<int> seen;
    Observation limit;
    limit = observers.add([&](int value) {
        if (value > 3) {
            observers.notify(3);
            limit.end();
        }
    });
    const auto recording = observers.add([&](int value) { seen.append(value); });
    observers.notify(5);
    observers.notify(6);
    QCOMPARE(seen, QList<int>({ 3, 5, 6 }));
}

void ObserversTest::outlivesTheList()
{
    auto captured = std::make_shared<int>(1);
    const std::weak_ptr<int> observed = captured;
    Observation observation;
    {
        Observers<> observers;
        observation = observers.add([captured = std::move(captured)] {});
    }
    QVERIFY(observation);
    QVERIFY(!observed.expired());
    observation.end();
    QVERIFY(!observation);
    QVERIFY(observed.expired());
}

void ObserversTest::outlivesTheListDuringACall()
{
    auto observers = std::make_unique<Observers<>>();
    int calls = 0;
    const auto first = observers->add([&] { observers.reset(); });
    const auto second = observers->add([&] { ++calls; });
    observers->notify();
    QVERIFY(observers == nullptr);
    QCOMPARE(calls, 1);
}

void ObserversTest::destroysWhatTheObserverCaptured()
{
    Observers<> observers;
    auto captured = std::make_shared<int>(1);
    const std::weak_ptr<int> observed = captured;
    Observation observation = observers.add([captured = std::move(captured)] {});
    QVERIFY(!observed.expired());
    observation.end();
    QVERIFY(observed.expired());
}

void ObserversTest::waitsForACallOnAnotherThread_data()
{
    QTest::addColumn<End>("end");
    QTest::newRow("end") << End([](std::optional<Observation>& ended) { ended->end(); });
    QTest::newRow("assign") << End([](std::optional<Observation>& ended) { *ended = {}; });
    QTest::newRow("destroy") << End([](std::optional<Observation>& ended) { ended.reset(); });
}

void ObserversTest::waitsForACallOnAnotherThread()
{
    QFETCH(End, end);
    Observers<> observers;
    std::promise<void> started;
    std::atomic<bool> hasReturned = false;
    std::optional<Observation> observation = observers.add([&] {
        started.set_value();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        hasReturned = true;
    });
    std::thread thread([&] { observers.notify(); });
    started.get_future().wait();
    end(observation);
    const bool hadReturned = hasReturned;
    thread.join();
    QVERIFY(hadReturned);
}

void ObserversTest::addsEndsAndNotifiesOnManyThreads()
{
    constexpr int rounds = 500;
    Observers<int> observers;
    int sum = 0; // without a lock: calls of one observer never overlap
    const auto counting = observers.add([&](int value) { sum += value; });
    const auto work = [&] {
        for (int round = 0; round < rounds; ++round) {
            int calls = 0;
            auto observation = observers.add([&](int) { ++calls; });
            observers.notify(1);
            observation.end();
            calls = -1; // a data race if a call were still running
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(sum, 4 * rounds);
}

VELLUMCAP_TEST(ObserversTest)

#include "tst_observers.moc"
