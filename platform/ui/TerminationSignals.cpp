#include "platform/ui/TerminationSignals.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace platform {
namespace {

// Global, since a signal handler has no object. It may only call functions that are
// async-signal-safe, such as write().
int readEnd = -1;
int writeEnd = -1;

void noteSignal(int)
{
    const int error = errno;
    const char note = 0;
    [[maybe_unused]] const ssize_t written = ::write(writeEnd, &note, 1);
    errno = error;
}

bool isIgnored(int number)
{
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

void setHandlers(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int number : { SIGTERM, SIGINT }) {
        sigaction(number, &action, nullptr);
    }
    if (!isIgnored(SIGHUP)) {
        sigaction(SIGHUP, &action, nullptr);
    }
}

void drain()
{
    char notes[16];
    while (::read(readEnd, notes, sizeof notes) > 0) { }
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> received)
{
    int ends[2] = { -1, -1 };
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    readEnd = ends[0];
    writeEnd = ends[1];
    m_notifier = std::make_unique<QSocketNotifier>(readEnd, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
        [received = std::move(received)] {
            drain();
            received();
        });
    setHandlers(noteSignal);
}

TerminationSignals::~TerminationSignals()
{
    if (!m_notifier) {
        return;
    }
    setHandlers(SIG_DFL);
    m_notifier.reset();
    ::close(std::exchange(readEnd, -1));
    ::close(std::exchange(writeEnd, -1));
}

} // namespace platform
