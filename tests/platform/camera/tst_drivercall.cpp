// Threads: std
#include "platform/camera/DriverCall.h"
#include "tests/support/TestMain.h"

#include <QElapsedTimer>

#include <atomic>
#include <future>
#include <memory>
#include <thread>

using namespace Qt::StringLiterals;

using platform::askDriver;
using platform::driverTimeout;
using platform::DriverVisit;

class DriverCallTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void runsTheCallOnAnotherThread();
    void destroysWhatTheCallCaptured();
    void losesOneThreadToADriverThatHangs();
    void makesNoCallWhileAVisitHangs();
};

namespace {

const QString path = u"/dev/camera"_s;

} // namespace

void DriverCallTest::runsTheCallOnAnotherThread()
{
    const auto thread = askDriver(path, [] { return std::this_thread::get_id(); });
    QVERIFY(thread.has_value());
    QVERIFY(*thread != std::this_thread::get_id());
}

void DriverCallTest::destroysWhatTheCallCaptured()
{
    auto device = std::make_shared<int>(42);
    const std::weak_ptr<int> life = device;
    QCOMPARE(askDriver(path, [device = std::move(device)] { return *device; }), 42);
    QVERIFY(life.expired());
}

void DriverCallTest::losesOneThreadToADriverThatHangs()
{
    std::promise<void> release;
    const std::shared_future<void> released = release.get_future().share();
    auto device = std::make_shared<int>(42);
    const std::weak_ptr<int> life = device;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!askDriver(path, [released, device = std::move(device)] {
        released.wait();
        return *device;
    }).has_value());
    QVERIFY(timer.elapsed() >= driverTimeout.count());

    std::atomic<bool> wasCalled = false;
    const auto call = [&wasCalled] { return wasCalled = true; };
    QVERIFY(!askDriver(path, call).has_value());
    QVERIFY(!wasCalled);
    QTRY_COMPARE(askDriver(u"/dev/other"_s, [] { return 1; }), 1);

    QVERIFY(!life.expired());
    release.set_value();
    QTRY_VERIFY(life.expired());
    QTRY_COMPARE(askDriver(path, [] { return 1; }), 1);
}

void DriverCallTest::makesNoCallWhileAVisitHangs()
{
    std::promise<void> release;
    std::thread visitor([released = release.get_future()] {
        const DriverVisit visit(path);
        released.wait();
    });
    QTRY_VERIFY(!askDriver(path, [] {
        return 1;
    }).has_value()); // the visit counts as hanging only after a while
    release.set_value();
    visitor.join();
    QTRY_COMPARE(askDriver(path, [] { return 1; }), 1);
}

VELLUMCAP_TEST(DriverCallTest)
#include "tst_drivercall.moc"
