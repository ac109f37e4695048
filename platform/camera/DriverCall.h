#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <type_traits>

namespace platform {

/// How long a call waits for a driver. A driver that takes longer counts as one that refuses.
constexpr std::chrono::milliseconds driverTimeout(1000);

/// Registers, during its lifetime, that a thread is in the driver of a device, which may never
/// return. Thread-safe.
class DriverVisit {
public:
    explicit DriverVisit(const QString& devicePath);
    ~DriverVisit();
    DriverVisit(const DriverVisit&) = delete;
    DriverVisit& operator=(const DriverVisit&) = delete;

    struct Entry {
        QString devicePath;
        std::chrono::steady_clock::time_point since;
    };

private:
    std::list<Entry>::iterator m_entry;
};

/// Runs `call` on a thread of its own and waits for its end. False on timeout; the call then
/// continues unattended. Also false, without running `call`, while another visit to the same driver
/// has timed out, so that a driver blocks one thread at most. Thread-safe.
[[nodiscard]] bool visitDriver(const QString& devicePath, std::function<void()> call);

/// As above; returns the value of `call`, if it finished in time. `call` must own what it uses,
/// since it may outlive its caller.
template <typename Call>
auto askDriver(const QString& devicePath, Call call) -> std::optional<std::invoke_result_t<Call>>
{
    auto answer = std::make_shared<std::optional<std::invoke_result_t<Call>>>();
    const bool isAnswered
        = visitDriver(devicePath, [answer, call = std::move(call)] { *answer = call(); });
    return isAnswered ? std::move(*answer) : std::nullopt;
}

} // namespace platform
