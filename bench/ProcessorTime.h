#pragma once

#include "platform/services/ThreadCpuClock.h"

#include <chrono>

/// Processor time of this thread in milliseconds, from an arbitrary start.
inline double processorMilliseconds()
{
    const std::chrono::duration<double, std::milli> spent
        = platform::ThreadCpuClock::now().time_since_epoch();
    return spent.count();
}
