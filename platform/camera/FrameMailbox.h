#pragma once

#include "platform/services/Dispatch.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace platform {

/// Hands frames to a receiver on a serial queue, one at a time, in the order of their arrival.
/// While the receiver is busy they wait here, where a newer one pushes out the oldest beyond the
/// capacity, so that a slow receiver makes nothing pile up. Any thread.
template <typename Frame> class FrameMailbox {
public:
    using Receiver = std::function<void(const Frame& frame)>;

    FrameMailbox(std::shared_ptr<SerialQueue> queue, std::size_t capacity, Receiver receiver)
        : m_queue(std::move(queue))
        , m_state(std::make_shared<State>(capacity, std::move(receiver)))
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
            m_state->frames.push_back(std::move(frame));
            while (m_state->frames.size() > m_state->capacity) {
                m_state->frames.pop_front();
            }
            if (std::exchange(m_state->hasJob, true)) {
                return;
            }
        }
        // The job owns the state alone: a queue must not end on its own thread.
        m_queue->async([state = m_state] { state->deliver(); });
    }

    void setCapacity(std::size_t capacity)
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->capacity = std::max<std::size_t>(capacity, 1);
    }

    /// Forgets the frames that wait.
    void clear()
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->frames.clear();
    }

    /// Returns when the receiver does not run; at once when it is the receiver that calls.
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
        /// While the receiver runs; ends as well when it throws.
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

        State(std::size_t aCapacity, Receiver aReceiver)
            : capacity(std::max<std::size_t>(aCapacity, 1))
            , receiver(std::move(aReceiver))
        {
        }

        void deliver()
        {
            std::unique_lock lock(mutex);
            hasJob = false;
            while (!frames.empty()) {
                const Frame frame = std::move(frames.front());
                frames.pop_front();
                const Turn turn(*this, lock);
                receiver(frame);
            }
        }

        std::size_t capacity;
        const Receiver receiver;
        std::mutex mutex;
        std::condition_variable idle;
        std::deque<Frame> frames;
        std::thread::id receiving;
        bool hasJob = false;
    };

    const std::shared_ptr<SerialQueue> m_queue;
    const std::shared_ptr<State> m_state;
};

} // namespace platform
