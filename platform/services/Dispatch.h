#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

/// Work queues. Everything but the main queue is built on std primitives, so that
/// ThreadSanitizer can judge what runs on it.
namespace platform {

using Job = std::function<void()>;

enum class QualityOfService {
    UserInitiated = 25, ///< as many threads as cores
    Utility = 17, ///< one thread
};

/// Submits `job` to the global concurrent queue of that quality of service. Jobs start in the
/// order of submission. Any thread.
void dispatchGlobal(QualityOfService quality, Job job);

/// Has finishGlobalQueues() run `job` first: one that cuts short what jobs of the queues wait for.
/// Any thread.
void beforeGlobalQueuesFinish(Job job);

/// Waits until every job of the global queues has ended, and ends their threads. Called once,
/// when the application goes; jobs that are submitted later are dropped.
void finishGlobalQueues();

/// Submits `job` to the main thread's event loop; runs in the order of submission. Any thread.
void dispatchMain(Job job);

/// As above, for a job that refers to an object of the main thread: it is dropped when the object
/// behind `guard` is gone by the time the job's turn comes.
void dispatchMain(std::weak_ptr<const void> guard, Job job);

/// Runs `job` on the main thread after `delay`, unless the object behind `guard` is gone by then.
void dispatchMainAfter(std::chrono::milliseconds delay, std::weak_ptr<const void> guard, Job job);

/// A thread of its own that runs jobs one at a time, in the order of submission.
class SerialQueue {
public:
    explicit SerialQueue(std::string label);
    /// Runs what was submitted, then ends the thread. Not to be called from the queue itself.
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    const std::string& label() const;
    void async(Job job);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace platform
