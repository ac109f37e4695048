#pragma once

#include <chrono>
#include <ctime>

namespace platform {

/// The processor time of the calling thread: a limit in it allows the same work on a busy machine
/// as on an idle one. Time points of different threads cannot be compared.
struct ThreadCpuClock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<ThreadCpuClock>;
    static constexpr bool is_steady = true;

    static time_point now() noexcept
    {
        timespec time{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return time_point(
            std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
    }
};

} // namespace platform
