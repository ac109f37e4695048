#include "platform/services/Dispatch.h"

#include "platform/services/Log.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <pthread.h>
#include <thread>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

void run(const Job& job)
{
    try {
        job();
    } catch (const std::exception& exception) {
        log(u"A job failed: %1"_s.arg(QString::fromUtf8(exception.what())));
    } catch (...) {
        log(u"A job failed"_s);
    }
}

/// Threads with one queue of jobs. A thread is started when no other is free for a job.
class WorkerPool {
public:
    WorkerPool(std::string name, std::size_t threadLimit)
        : m_name(std::move(name))
        , m_threadLimit(threadLimit)
    {
    }
    ~WorkerPool() { finish(); }
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    void submit(Job job)
    {
        const std::lock_guard lock(m_mutex);
        if (m_finished) {
            return;
        }
        m_jobs.push_back(std::move(job));
        if (m_jobs.size() > m_idle && m_threads.size() < m_threadLimit) {
            m_threads.emplace_back([this] { work(); });
        }
        m_wake.notify_one();
    }

    void finish()
    {
        std::vector<std::thread> threads;
        {
            const std::lock_guard lock(m_mutex);
            m_finished = true;
            threads.swap(m_threads);
        }
        m_wake.notify_all();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

private:
    void work()
    {
        constexpr std::size_t longestThreadName = 15;
        pthread_setname_np(pthread_self(), m_name.substr(0, longestThreadName).c_str());
        while (const Job job = next()) {
            run(job);
        }
    }

    /// Blocks until there is a job. Empty when the pool is finished and no job is left.
    Job next()
    {
        std::unique_lock lock(m_mutex);
        ++m_idle;
        m_wake.wait(lock, [this] { return m_finished || !m_jobs.empty(); });
        --m_idle;
        if (m_jobs.empty()) {
            return {};
        }
        Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        return job;
    }

    const std::string m_name;
    const std::size_t m_threadLimit;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Job> m_jobs;
    std::vector<std::thread> m_threads;
    std::size_t m_idle = 0;
    bool m_finished = false;
};

struct {
    std::mutex mutex; // guards `jobs`
    std::vector<Job> jobs;
} lastJobs;

WorkerPool& globalPool(QualityOfService quality)
{
    static WorkerPool userInitiated(
        "user-initiated", std::max<std::size_t>(2, std::thread::hardware_concurrency()));
    static WorkerPool utility("utility", 1);
    return quality == QualityOfService::UserInitiated ? userInitiated : utility;
}

} // namespace

void dispatchGlobal(QualityOfService quality, Job job)
{
    globalPool(quality).submit(std::move(job));
}

void beforeGlobalQueuesFinish(Job job)
{
    const std::lock_guard lock(lastJobs.mutex);
    lastJobs.jobs.push_back(std::move(job));
}

void finishGlobalQueues()
{
    std::vector<Job> jobs;
    {
        const std::lock_guard lock(lastJobs.mutex);
        jobs.swap(lastJobs.jobs);
    }
    std::for_each(jobs.begin(), jobs.end(), run);
    globalPool(QualityOfService::UserInitiated).finish();
    globalPool(QualityOfService::Utility).finish();
}

void dispatchMain(Job job)
{
    if (auto* application = QCoreApplication::instance()) {
        QMetaObject::invokeMethod(
            application, [job = std::move(job)] { run(job); }, Qt::QueuedConnection);
    }
}

void dispatchMain(std::weak_ptr<const void> guard, Job job)
{
    dispatchMain([guard = std::move(guard), job = std::move(job)] {
        if (!guard.expired()) {
            job();
        }
    });
}

void dispatchMainAfter(std::chrono::milliseconds delay, std::weak_ptr<const void> guard, Job job)
{
    using std::chrono::steady_clock;
    const auto due = steady_clock::now() + delay;
    // A timer needs the event loop of the thread that starts it; workers have none.
    dispatchMain([due, guard = std::move(guard), job = std::move(job)]() mutable {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(due - steady_clock::now());
        QTimer::singleShot(std::max(rest, std::chrono::milliseconds::zero()), Qt::PreciseTimer,
            QCoreApplication::instance(), [guard = std::move(guard), job = std::move(job)] {
                if (!guard.expired()) {
                    run(job);
                }
            });
    });
}

struct SerialQueue::State {
    explicit State(std::string label)
        : worker(std::move(label), 1)
    {
    }
    WorkerPool worker;
};

SerialQueue::SerialQueue(std::string label)
    : m_state(std::make_unique<State>(std::move(label)))
{
}

SerialQueue::~SerialQueue() = default;

void SerialQueue::async(Job job)
{
    m_state->worker.submit(std::move(job));
}

} // namespace platform
