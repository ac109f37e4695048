#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace platform {

/// Turns SIGTERM and SIGINT into a call in the main thread's event loop while it lives. One for
/// the process.
class TerminationSignals {
public:
    explicit TerminationSignals(std::function<void()> received);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace platform
