#include "platform/camera/CameraRegistry.h"

#include "platform/camera/CameraPortal.h"
#include "platform/camera/PipeWireCameras.h"
#include "platform/camera/PlugWatch.h"
#include "platform/camera/V4L2Device.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <pipewire/pipewire.h>
#include <utility>

namespace platform {

namespace {

constexpr auto firstListingTimeout = std::chrono::milliseconds(300);
constexpr auto retryAfter = std::chrono::milliseconds(50);
// A daemon creates its socket before it listens; the portal takes a little longer.
constexpr int mostRetries = 100;

/// Stops the thread of PipeWire's loop during its lifetime.
class LoopLock {
public:
    explicit LoopLock(pw_thread_loop* loop)
        : m_loop(loop)
    {
        pw_thread_loop_lock(m_loop);
    }
    ~LoopLock() { pw_thread_loop_unlock(m_loop); }
    LoopLock(const LoopLock&) = delete;
    LoopLock& operator=(const LoopLock&) = delete;

private:
    pw_thread_loop* m_loop;
};

} // namespace

/// Connections are used on the loop's thread or under its lock. Readers get a copy that has a lock
/// of its own, so that they do not wait for PipeWire.
class CameraRegistry::State {
public:
    State();
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    Source source() const;
    CameraListing listing() const;
    bool setControl(const QString& name, quint32 id, int value);

    Observers<> observers;

private:
    void connectAgain();
    bool connectBy(int descriptor);
    void portalAnswered(bool granted);
    void listDevices();
    void publish(Source source, CameraListing listing);
    void setTimer(std::chrono::milliseconds delay);

    static State* from(void* data) { return static_cast<State*>(data); }

    const bool m_isSandboxed = CameraPortal::isNeeded();

    // Accessed on the loop's thread or under its lock.
    pw_thread_loop* m_loop;
    pw_context* m_context;
    spa_source* m_timer;
    spa_source* m_watchSource;
    int m_retries = 0;
    bool m_isListingDue = false; ///< the timer lists devices instead of connecting
    bool m_isGranted = false;
    std::unique_ptr<PipeWireCameras> m_pipeWire;
    PlugWatch m_watch;
    std::unique_ptr<CameraPortal> m_portal;

    mutable std::mutex m_mutex; // guards the following
    mutable std::condition_variable m_listed;
    mutable bool m_isListed = false; ///< or the wait for it has timed out
    bool m_isPublished = false;
    Source m_source;
    CameraListing m_listing;
};

CameraRegistry::State::State()
    : m_source(m_isSandboxed ? Source::Portal : Source::PipeWire)
{
    pw_init(nullptr, nullptr);
    m_loop = pw_thread_loop_new("cameras", nullptr);
    pw_loop* loop = pw_thread_loop_get_loop(m_loop);
    m_context = pw_context_new(loop, nullptr, 0);
    m_timer = pw_loop_add_timer(
        loop,
        [](void* data, uint64_t) {
            State* state = from(data);
            if (std::exchange(state->m_isListingDue, false)) {
                state->listDevices();
            } else {
                state->connectAgain();
            }
        },
        this);
    m_watchSource = pw_loop_add_io(
        loop, m_watch.descriptor(), SPA_IO_IN, false,
        [](void* data, int, uint32_t) {
            State* state = from(data);
            const PlugWatch::Changes changes = state->m_watch.changes();
            if (changes.daemon && !state->m_pipeWire && !state->m_isSandboxed) {
                state->m_retries = 0;
                state->connectAgain();
            } else if (changes.devices && state->source() == Source::V4L2) {
                state->listDevices();
            }
        },
        this);
    if (m_isSandboxed) {
        m_portal = std::make_unique<CameraPortal>([this](bool granted) {
            const LoopLock lock(m_loop);
            portalAnswered(granted);
        });
    } else if (!connectBy(-1)) {
        // On the loop's thread, since drivers may be slow.
        m_source = Source::V4L2;
        m_isListingDue = true;
        setTimer(std::chrono::milliseconds(0));
    }
    pw_thread_loop_start(m_loop);
}

CameraRegistry::State::~State()
{
    m_portal.reset();
    pw_thread_loop_stop(m_loop);
    m_pipeWire.reset();
    pw_context_destroy(m_context);
    pw_loop_destroy_source(pw_thread_loop_get_loop(m_loop), m_timer);
    if (m_watchSource != nullptr) {
        pw_loop_destroy_source(pw_thread_loop_get_loop(m_loop), m_watchSource);
    }
    pw_thread_loop_destroy(m_loop);
    pw_deinit();
}

CameraRegistry::Source CameraRegistry::State::source() const
{
    const std::lock_guard lock(m_mutex);
    return m_source;
}

CameraListing CameraRegistry::State::listing() const
{
    std::unique_lock lock(m_mutex);
    m_listed.wait_for(lock, firstListingTimeout, [this] { return m_isListed; });
    m_isListed = true;
    return m_listing;
}

/// Called by the timer or PlugWatch, never within a callback of the connection that it replaces.
void CameraRegistry::State::connectAgain()
{
    m_isListingDue = false;
    m_pipeWire.reset();
    if (!m_isSandboxed && connectBy(-1)) {
        return;
    }
    if (m_isSandboxed && m_isGranted) {
        const int descriptor = CameraPortal::openRemote();
        if (descriptor >= 0 && connectBy(descriptor)) {
            return;
        }
    }
    if (m_retries == 0) {
        listDevices();
    }
    if (++m_retries < mostRetries) {
        setTimer(retryAfter);
    }
}

bool CameraRegistry::State::connectBy(int descriptor)
{
    m_pipeWire = PipeWireCameras::connected(m_context, descriptor,
        { [this](CameraListing listing) {
             m_retries = 0;
             publish(m_isSandboxed ? Source::Portal : Source::PipeWire, std::move(listing));
         },
            [this] { setTimer(std::chrono::milliseconds(0)); } });
    return m_pipeWire != nullptr;
}

void CameraRegistry::State::portalAnswered(bool granted)
{
    m_isGranted = granted;
    if (granted) {
        setTimer(std::chrono::milliseconds(0));
    } else {
        publish(Source::Portal, {});
    }
}

void CameraRegistry::State::listDevices()
{
    if (m_isSandboxed) {
        publish(Source::Portal, {});
    } else {
        publish(Source::V4L2, { v4l2Cameras(), {} });
    }
}

void CameraRegistry::State::publish(Source source, CameraListing listing)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_isPublished && source == m_source && listing == m_listing) {
            return;
        }
        m_source = source;
        m_listing = std::move(listing);
        m_isListed = true;
        m_isPublished = true;
    }
    m_listed.notify_all();
    observers.notify();
}

void CameraRegistry::State::setTimer(std::chrono::milliseconds delay)
{
    // Zero would disarm the timer.
    timespec value{ 0, std::max(1L, static_cast<long>(std::chrono::nanoseconds(delay).count())) };
    timespec once{};
    pw_loop_update_timer(pw_thread_loop_get_loop(m_loop), m_timer, &value, &once, false);
}

bool CameraRegistry::State::setControl(const QString& name, quint32 id, int value)
{
    const LoopLock lock(m_loop);
    return m_pipeWire && m_pipeWire->setControl(name, id, value);
}

CameraRegistry& CameraRegistry::shared()
{
    static CameraRegistry registry;
    return registry;
}

CameraRegistry::CameraRegistry()
    : m_state(std::make_unique<State>())
{
}

CameraRegistry::~CameraRegistry() = default;

CameraRegistry::Source CameraRegistry::source() const
{
    return m_state->source();
}

QList<CameraNode> CameraRegistry::cameras() const
{
    return m_state->listing().cameras;
}

std::optional<CameraNode> CameraRegistry::camera(const QString& name) const
{
    const QList<CameraNode> all = cameras();
    const auto found = std::find_if(
        all.begin(), all.end(), [&name](const CameraNode& node) { return node.name == name; });
    return found == all.end() ? std::nullopt : std::optional(*found);
}

QString CameraRegistry::defaultCamera() const
{
    const CameraListing listing = m_state->listing();
    const auto isDefault
        = [&listing](const CameraNode& node) { return node.name == listing.defaultCamera; };
    if (std::any_of(listing.cameras.begin(), listing.cameras.end(), isDefault)) {
        return listing.defaultCamera;
    }
    return listing.cameras.isEmpty() ? QString() : listing.cameras.first().name;
}

bool CameraRegistry::setControl(const QString& name, quint32 id, int value)
{
    return m_state->setControl(name, id, value);
}

int CameraRegistry::openRemote() const
{
    return m_state->source() == Source::Portal ? CameraPortal::openRemote() : -1;
}

Observation CameraRegistry::observe(std::function<void()> observer)
{
    return m_state->observers.add(std::move(observer));
}

} // namespace platform
