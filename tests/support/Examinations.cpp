#include "tests/support/Examinations.h"

#include "platform/services/Dispatch.h"

#include <QCoreApplication>

#include <algorithm>
#include <latch>
#include <memory>
#include <thread>

namespace support {

void waitForExaminations()
{
    // Jobs start in the order of submission: once each thread of the queue runs one of these jobs,
    // all earlier jobs have ended.
    const auto threads = std::max(2U, std::thread::hardware_concurrency());
    const auto meeting = std::make_shared<std::latch>(threads);
    for (unsigned number = 0; number < threads; ++number) {
        platform::dispatchGlobal(
            platform::QualityOfService::UserInitiated, [meeting] { meeting->arrive_and_wait(); });
    }
    meeting->wait();
    QCoreApplication::processEvents();
}

} // namespace support
