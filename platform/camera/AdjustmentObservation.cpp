#include "platform/camera/AdjustmentObservation.h"

#include "platform/camera/DriverCall.h"
#include "platform/camera/V4L2Device.h"

#include <chrono>
#include <future>
#include <linux/videodev2.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <thread>
#include <utility>

namespace platform {

namespace {

constexpr int pollInterval = 100; // milliseconds, when the driver sends no events

/// The driver may block the thread for longer, which then ends later.
constexpr auto threadEndTimeout = std::chrono::milliseconds(250);

/// Null when the device does not report its focus.
std::shared_ptr<V4L2Device> focusingDevice(const QString& path)
{
    auto device = std::make_shared<V4L2Device>(path);
    const bool hasStatus
        = device->isOpen() && device->control(V4L2_CID_AUTO_FOCUS_STATUS).has_value();
    return hasStatus ? device : nullptr;
}

} // namespace

/// Reads the auto-focus status whenever the driver reports a change, or at an interval.
class AdjustmentObservation::FocusWatch {
public:
    FocusWatch(QString devicePath, std::shared_ptr<V4L2Device> device)
        : m_devicePath(std::move(devicePath))
        , m_device(std::move(device))
        , m_end(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
    }

    /// Until stop() is called or the camera is unplugged. Blocks.
    void run();
    void stop() const { eventfd_write(m_end.get(), 1); }
    /// Returns when run() has returned, or after a timeout.
    void waitForEnd() { m_ended.get_future().wait_for(threadEndTimeout); }

    Observers<bool> observers;

private:
    void watch();
    bool subscribe() const;
    std::optional<int> status() const;
    bool takeEvent() const;

    const QString m_devicePath;
    std::shared_ptr<V4L2Device> m_device;
    const FileDescriptor m_end;
    std::promise<void> m_ended;
};

void AdjustmentObservation::FocusWatch::run()
{
    watch();
    {
        const DriverVisit visit(m_devicePath);
        m_device.reset();
    }
    m_ended.set_value();
}

bool AdjustmentObservation::FocusWatch::subscribe() const
{
    const DriverVisit visit(m_devicePath);
    // A volatile status, which the driver reads from the camera on request, sends no events.
    v4l2_queryctrl query{};
    query.id = V4L2_CID_AUTO_FOCUS_STATUS;
    v4l2_event_subscription subscription{};
    subscription.type = V4L2_EVENT_CTRL;
    subscription.id = V4L2_CID_AUTO_FOCUS_STATUS;
    return m_device->request(VIDIOC_QUERYCTRL, &query)
        && (query.flags & V4L2_CTRL_FLAG_VOLATILE) == 0
        && m_device->request(VIDIOC_SUBSCRIBE_EVENT, &subscription);
}

std::optional<int> AdjustmentObservation::FocusWatch::status() const
{
    const DriverVisit visit(m_devicePath);
    return m_device->control(V4L2_CID_AUTO_FOCUS_STATUS);
}

bool AdjustmentObservation::FocusWatch::takeEvent() const
{
    const DriverVisit visit(m_devicePath);
    v4l2_event event{};
    return m_device->request(VIDIOC_DQEVENT, &event);
}

void AdjustmentObservation::FocusWatch::watch()
{
    const bool hasEvents = subscribe();
    bool wasAdjusting = false;
    for (;;) {
        const auto now = status();
        const bool isAdjusting = (now.value_or(0) & V4L2_AUTO_FOCUS_STATUS_BUSY) != 0;
        if (isAdjusting != wasAdjusting) {
            wasAdjusting = isAdjusting;
            observers.notify(isAdjusting);
        }
        pollfd descriptors[]{ { m_end.get(), POLLIN, 0 },
            { hasEvents ? m_device->descriptor() : -1, POLLPRI, 0 } };
        withoutInterruption([&] { return poll(descriptors, 2, hasEvents ? -1 : pollInterval); });
        const bool isUnplugged = !now.has_value() || (descriptors[1].revents != 0 && !takeEvent());
        if (isUnplugged || descriptors[0].revents != 0) {
            return;
        }
    }
}

AdjustmentObservation::AdjustmentObservation(
    std::shared_ptr<FocusWatch> watch, std::function<void(bool)> observer)
    : m_watch(std::move(watch))
    , m_observation(m_watch->observers.add(std::move(observer)))
{
    // Detached: the driver may block the thread for ever.
    std::thread([watch = m_watch] {
        pthread_setname_np(pthread_self(), "focus");
        watch->run();
    }).detach();
}

AdjustmentObservation::~AdjustmentObservation()
{
    m_watch->stop();
    m_observation.end();
    m_watch->waitForEnd();
}

std::unique_ptr<AdjustmentObservation> AdjustmentObservation::ofFocus(
    const QString& devicePath, std::function<void(bool)> observer)
{
    auto device = askDriver(devicePath, [devicePath] {
        return focusingDevice(devicePath);
    }).value_or(nullptr);
    if (!device) {
        return nullptr;
    }
    return std::unique_ptr<AdjustmentObservation>(new AdjustmentObservation(
        std::make_shared<FocusWatch>(devicePath, std::move(device)), std::move(observer)));
}

} // namespace platform
