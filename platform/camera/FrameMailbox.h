#pragma once

#include "platform/services/Dispatch.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace platform {

/// Hands frames to a receiver on a serial queue, one at a time, in the order of their arrival.
/// While the receiver is busy one frame waits, and a newer one replaces it, so that frames do not
/// pile up behind a slow receiver. Thread-safe.
template <typename Frame> class FrameMailbox {
public:
    using Receiver = std::function<void(const Frame& frame)>;

    FrameMailbox(std::shared_ptr<SerialQueue> queue, Receiver receiver)
        : m_queue(std::move(queue))
        , m_state(std::make_shared<State>(std::move(receiver)))
    {
    }
    /// Afterwards the receiver neither runs nor is called.
    ~FrameMailbox()
    {
        clear();
        waitUntilIdle();
    }
    FrameMailbox(const FrameMailbox&) = delete;
    FrameMailbox& operator=(const FrameMailbox&) = delete;

    void put(Frame frame)
    {
        {
            const std::lock_guard lock(m_state->mutex);
            m_state->waiting = std::move(frame);
            if (std::exchange(m_state->hasJob, true)) {
                return;
            }
        }
        // The job must not own the queue, which cannot be destroyed on its own thread.
        m_queue->async([state = m_state] { state->deliver(); });
    }

    /// Drops the frame that waits.
    void clear()
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->waiting.reset();
    }

    /// Returns when the receiver does not run; does not block when the receiver itself calls.
    void waitUntilIdle()
    {
        std::unique_lock lock(m_state->mutex);
        m_state->idle.wait(lock, [this] {
            return m_state->receiving == std::thread::id()
                || m_state->receiving == std::this_thread::get_id();
        });
    }

private:
    struct State {
        /// Unlocks the mutex while the receiver runs, which may throw.
        class Turn {
        public:
            Turn(State& state, std::unique_lock<std::mutex>& lock)
                : m_state(state)
                , m_lock(lock)
            {
                m_state.receiving = std::this_thread::get_id();
                m_lock.unlock();
            }
            ~Turn()
            {
                m_lock.lock();
                m_state.receiving = {};
                m_state.idle.notify_all();
            }
            Turn(const Turn&) = delete;
            Turn& operator=(const Turn&) = delete;

        private:
            State& m_state;
            std::unique_lock<std::mutex>& m_lock;
        };

        explicit State(Receiver aReceiver)
            : receiver(std::move(aReceiver))
        {
        }

        void deliver()
        {
            std::unique_lock lock(mutex);
            hasJob = false;
            if (const std::optional<Frame> frame = std::exchange(waiting, std::nullopt)) {
                const Turn turn(*this, lock);
                receiver(*frame);
            }
        }

        const Receiver receiver;
        std::mutex mutex; // guards the following
        std::condition_variable idle;
        std::optional<Frame> waiting;
        std::thread::id receiving;
        bool hasJob = false;
    };

    const std::shared_ptr<SerialQueue> m_queue;
    const std::shared_ptr<State> m_state;
};

} // namespace platform
