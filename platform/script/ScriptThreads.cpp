#include "platform/script/ScriptThreads.h"

#include "platform/services/Log.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <pthread.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

constexpr std::size_t threadLimit = 32;

std::atomic<bool> interrupted = false;

struct State {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Job> waiting;
    std::size_t running = 0; ///< threads
    std::size_t inProgram = 0; ///< running threads that are not in a script
    bool abandoned = false;
};

/// Never destroyed: abandoned threads outlive every static object.
State& shared()
{
    static State& state = *new State;
    return state;
}

thread_local bool isScriptThread = false;

void run(const Job& job)
{
    try {
        job();
    } catch (const std::exception& exception) {
        log(u"A job failed: %1"_s.arg(QString::fromUtf8(exception.what())));
    }
}

/// The next job. Empty when there is none; then this thread no longer counts as running.
Job next(State& state)
{
    const std::lock_guard lock(state.mutex);
    if (interrupted || state.waiting.empty()) {
        --state.running;
        --state.inProgram;
        state.changed.notify_all();
        return {};
    }
    Job job = std::move(state.waiting.front());
    state.waiting.pop_front();
    return job;
}

void work()
{
    pthread_setname_np(pthread_self(), "script");
    isScriptThread = true;
    while (const Job job = next(shared())) {
        run(job);
    }
}

[[noreturn]] void pauseForever()
{
    while (true) {
        ::pause();
    }
}

} // namespace

void dispatchScript(Job job)
{
    State& state = shared();
    const std::lock_guard lock(state.mutex);
    if (interrupted) {
        return;
    }
    state.waiting.push_back(std::move(job));
    if (state.running == threadLimit) {
        return;
    }
    try {
        std::thread(work).detach();
        ++state.running;
        ++state.inProgram;
    } catch (const std::system_error& error) {
        log(u"A script has to wait: %1"_s.arg(QString::fromUtf8(error.what())));
    }
}

void finishScripts(const ScriptTimeouts& timeouts)
{
    State& state = shared();
    std::deque<Job> dropped;
    std::unique_lock lock(state.mutex);
    const auto allEnded = [&state] { return state.running == 0; };
    state.changed.wait_for(lock, timeouts.untilInterrupted, allEnded);
    interrupted = true;
    dropped.swap(state.waiting);
    lock.unlock();
    dropped.clear(); // what the jobs hold may need the lock
    lock.lock();
    state.changed.wait_for(lock, timeouts.untilAbandoned, allEnded);
    state.abandoned = true;
    state.changed.wait(lock, [&state] { return state.inProgram == 0; });
}

namespace ScriptThreads {

bool areInterrupted()
{
    return interrupted;
}

InScript::InScript()
{
    if (isScriptThread) {
        State& state = shared();
        const std::lock_guard lock(state.mutex);
        --state.inProgram;
        state.changed.notify_all();
    }
}

InScript::~InScript()
{
    if (!isScriptThread) {
        return;
    }
    State& state = shared();
    std::unique_lock lock(state.mutex);
    if (state.abandoned) {
        lock.unlock();
        pauseForever();
    }
    ++state.inProgram;
}

void logFromScript(const QString& line)
{
    State& state = shared();
    const std::lock_guard lock(state.mutex);
    if (!state.abandoned) {
        log(line);
    }
}

} // namespace ScriptThreads

} // namespace platform
