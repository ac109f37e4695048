#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace platform {

/// Calls a function in the main thread's event loop on SIGTERM, SIGINT and SIGHUP, during
/// its lifetime. SIGHUP stays ignored if it was before, as under nohup. At most one in a process.
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
