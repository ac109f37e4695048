#pragma once

#include <algorithm>
#include <chrono>

namespace platform::decoder {

/// Allows a burst of events, then one event per interval.
class RateLimit {
public:
    using Clock = std::chrono::steady_clock;

    RateLimit(Clock::duration interval, int burst)
        : m_interval(interval)
        , m_credit(interval * burst)
    {
    }

    void count(Clock::time_point now) { m_paidUntil = std::max(m_paidUntil, now) + m_interval; }

    /// The earliest time of the next event; not after now when it is allowed now.
    Clock::time_point next() const { return m_paidUntil + m_interval - m_credit; }

private:
    Clock::duration m_interval;
    Clock::duration m_credit;
    Clock::time_point m_paidUntil;
};

} // namespace platform::decoder
