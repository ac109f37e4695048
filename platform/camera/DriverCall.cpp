#include "platform/camera/DriverCall.h"

#include <algorithm>
#include <future>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <thread>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

struct Visits {
    std::mutex mutex; // guards the following
    std::list<DriverVisit::Entry> all;
};

/// Never destroyed: a visit may end while the process exits.
Visits& visits()
{
    static auto* const shared = new Visits;
    return *shared;
}

bool hangs(const QString& devicePath)
{
    const auto late = Clock::now() - driverTimeout;
    const std::lock_guard lock(visits().mutex);
    return std::any_of(visits().all.cbegin(), visits().all.cend(),
        [&](const auto& visit) { return visit.devicePath == devicePath && visit.since <= late; });
}

} // namespace

DriverVisit::DriverVisit(const QString& devicePath)
{
    const std::lock_guard lock(visits().mutex);
    m_entry = visits().all.insert(visits().all.end(), { devicePath, Clock::now() });
}

DriverVisit::~DriverVisit()
{
    const std::lock_guard lock(visits().mutex);
    visits().all.erase(m_entry);
}

bool visitDriver(const QString& devicePath, std::function<void()> call)
{
    if (hangs(devicePath)) {
        return false;
    }
    std::promise<void> ending;
    const std::future<void> end = ending.get_future();
    // Created before the wait starts, so that it counts as timed out when the wait times out.
    auto visit = std::make_unique<DriverVisit>(devicePath);
    std::thread([visit = std::move(visit), call = std::move(call),
                    ending = std::move(ending)]() mutable {
        pthread_setname_np(pthread_self(), "driver");
        call();
        call = nullptr; // it may own an open device, which is closed in the driver
        visit.reset();
        ending.set_value();
    }).detach();
    return end.wait_for(driverTimeout) == std::future_status::ready;
}

} // namespace platform
