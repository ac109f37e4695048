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
    std::mutex mutex; // for the following
    std::list<DriverVisit::Entry> all;
};

/// Never destroyed: a visit may end while the process does.
Visits& visits()
{
    static auto* const shared = new Visits;
    return *shared;
}

bool hangs(const QString& devicePath)
{
    const auto late = Clock::now() - patienceWithDriver;
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
    // Begun before it is waited for, so that it is late when that ends.
    auto visit = std::make_unique<DriverVisit>(devicePath);
    std::thread([visit = std::move(visit), call = std::move(call),
                    ending = std::move(ending)]() mutable {
        pthread_setname_np(pthread_self(), "driver");
        call();
        call = nullptr; // what it holds may be an open device
        visit.reset();
        ending.set_value();
    }).detach();
    return end.wait_for(patienceWithDriver) == std::future_status::ready;
}

} // namespace platform
