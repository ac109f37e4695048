#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <type_traits>

namespace platform {

/// How long a driver is waited for. One that takes longer counts as one that refuses.
constexpr std::chrono::milliseconds patienceWithDriver(1000);

/// As long as this lives, a thread is in the code of a device's driver, where it may stay for ever.
/// Any thread.
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

/// Makes `call` on a thread of its own, and waits for its end. False when it takes too long, and is
/// left to itself, or is not made at all, since another one is still in the driver of this device:
/// so no more than one thread is lost to it. Any thread.
[[nodiscard]] bool visitDriver(const QString& devicePath, std::function<void()> call);

/// As above; what `call` returns, if it does. It must refer to nothing that may go while it runs.
template <typename Call>
auto askDriver(const QString& devicePath, Call call) -> std::optional<std::invoke_result_t<Call>>
{
    auto answer = std::make_shared<std::optional<std::invoke_result_t<Call>>>();
    const bool isAnswered
        = visitDriver(devicePath, [answer, call = std::move(call)] { *answer = call(); });
    return isAnswered ? std::move(*answer) : std::nullopt;
}

} // namespace platform
