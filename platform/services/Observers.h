#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace platform {

/// Keeps an observer registered with an `Observers` list, which it may outlive. Ends the
/// observation on destruction or assignment, after a call that runs on another thread has
/// returned. Any thread, and within the observer itself.
class Observation {
public:
    Observation() = default; ///< of nothing
    ~Observation() { end(); }
    Observation(Observation&&) noexcept = default;
    Observation& operator=(Observation&& other) noexcept
    {
        if (this != &other) {
            end();
            m_registration = std::move(other.m_registration);
        }
        return *this;
    }

    void end()
    {
        if (const auto registration = std::exchange(m_registration, nullptr)) {
            registration->end();
        }
    }

private:
    template <typename... Arguments> friend class Observers;

    class Registration {
    public:
        virtual ~Registration() = default;
        virtual void end() = 0;
    };

    explicit Observation(std::shared_ptr<Registration> registration)
        : m_registration(std::move(registration))
    {
    }

    std::shared_ptr<Registration> m_registration;
};

/// Functions to call when something happens, in the order of their registration. An observer may
/// begin and end observations, its own included, may have the observers notified again, and may
/// destroy the list. Threads take turns in calling one observer. Any thread.
template <typename... Arguments> class Observers {
public:
    using Observer = std::function<void(Arguments...)>;

    Observers() = default;
    Observers(const Observers&) = delete;
    Observers& operator=(const Observers&) = delete;

    /// Calls `observer` at each notification while the returned observation lives.
    [[nodiscard]] Observation add(Observer observer)
    {
        auto registration = std::make_shared<Registration>(std::move(observer));
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_registrations, [](const auto& known) { return known.expired(); });
        m_registrations.push_back(registration);
        return Observation(std::move(registration));
    }

    /// Calls every observer that was registered before, on this thread.
    void notify(Arguments... arguments)
    {
        // An observer may destroy this list: only local variables are used after the copy.
        for (const auto& known : registrations()) {
            if (const auto registration = known.lock()) {
                registration->call(arguments...);
            }
        }
    }

private:
    class Registration : public Observation::Registration {
    public:
        explicit Registration(Observer observer)
            : m_observer(std::move(observer))
        {
        }

        void call(Arguments... arguments)
        {
            const std::lock_guard lock(m_mutex);
            if (m_hasEnded) {
                return;
            }
            const bool isNested = std::exchange(m_isRunning, true);
            m_observer(arguments...);
            m_isRunning = isNested;
        }

        // During its own call the observer must stay: it is destroyed after that.
        void end() override
        {
            const std::lock_guard lock(m_mutex);
            m_hasEnded = true;
            if (!m_isRunning) {
                m_observer = nullptr;
            }
        }

    private:
        std::recursive_mutex m_mutex; // held during a call
        Observer m_observer;
        bool m_isRunning = false;
        bool m_hasEnded = false;
    };

    std::vector<std::weak_ptr<Registration>> registrations()
    {
        const std::lock_guard lock(m_mutex);
        return m_registrations;
    }

    std::mutex m_mutex;
    std::vector<std::weak_ptr<Registration>> m_registrations;
};

} // namespace platform
