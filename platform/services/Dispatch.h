#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

/// Work queues. All except the main queue use std primitives only, so that ThreadSanitizer can
/// check what runs on them.
namespace platform {

using Job = std::function<void()>;

enum class QualityOfService {
    UserInitiated = 25, ///< as many threads as cores
    Utility = 17, ///< one thread
};

/// Submits `job` to the global concurrent queue of that quality of service. Jobs start in the
/// order of submission. Exceptions of jobs are logged. Any thread.
void dispatchGlobal(QualityOfService quality, Job job);

/// Registers a job that finishGlobalQueues() runs first, to unblock jobs of the queues. Any thread.
void beforeGlobalQueuesFinish(Job job);

/// Blocks until all jobs of the global queues have ended, and ends their threads. Called once, at
/// the end of the program; jobs that are submitted later are dropped.
void finishGlobalQueues();

/// Submits `job` to the main thread's event loop. Jobs run in the order of submission. Any thread.
void dispatchMain(Job job);

/// As above, for a job that refers to an object of the main thread. The job is dropped if `guard`
/// has expired when it would run.
void dispatchMain(std::weak_ptr<const void> guard, Job job);

/// Runs `job` on the main thread after `delay`, unless `guard` has expired by then. Any thread.
void dispatchMainAfter(std::chrono::milliseconds delay, std::weak_ptr<const void> guard, Job job);

/// A thread that runs jobs one at a time, in the order of submission.
class SerialQueue {
public:
    explicit SerialQueue(std::string label); ///< the thread's name
    /// Runs the submitted jobs, then ends the thread. Must not be called by a job of the queue.
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    void async(Job job); ///< any thread

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace platform
