#pragma once

#include "platform/services/ThreadCpuClock.h"

#include <chrono>

/// Milliseconds that this thread has spent on a core, from a beginning of no importance.
inline double processorMilliseconds()
{
    const std::chrono::duration<double, std::milli> spent
        = platform::ThreadCpuClock::now().time_since_epoch();
    return spent.count();
}
