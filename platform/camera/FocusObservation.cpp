#include "platform/camera/FocusObservation.h"

#include "platform/camera/DriverCall.h"
#include "platform/camera/V4L2Device.h"

#include <future>
#include <linux/videodev2.h>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <thread>

namespace platform {

namespace {

constexpr int pollInterval = 100; // milliseconds, where the driver sends no events

constexpr auto patienceWithEnd = std::chrono::milliseconds(250);

/// Reads the auto-focus status whenever the driver says that it has changed, or now and then.
class FocusWatch {
public:
    FocusWatch(
        QString devicePath, std::shared_ptr<V4L2Device> device, std::function<void(bool)> observer)
        : m_devicePath(std::move(devicePath))
        , m_device(std::move(device))
        , m_observer(std::move(observer))
        , m_end(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
    }

    void run();
    /// Afterwards the observer is not called any more. Waits a moment for run() to end.
    void end();

private:
    void watch();
    bool subscribes() const;
    std::optional<int> status() const;
    bool takesEvent() const;
    void tell(bool isAdjusting);

    const QString m_devicePath;
    std::shared_ptr<V4L2Device> m_device;
    const std::function<void(bool)> m_observer;
    const FileDescriptor m_end;
    std::promise<void> m_left;
    std::mutex m_mutex; // held while the observer runs
    bool m_isEnding = false;
};

void FocusWatch::run()
{
    watch();
    {
        const DriverVisit visit(m_devicePath);
        m_device.reset();
    }
    m_left.set_value();
}

void FocusWatch::end()
{
    eventfd_write(m_end.get(), 1);
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_left.get_future().wait_for(patienceWithEnd);
}

bool FocusWatch::subscribes() const
{
    const DriverVisit visit(m_devicePath);
    // A status that the driver reads from the camera when asked is volatile, and sends no events.
    v4l2_queryctrl query{};
    query.id = V4L2_CID_AUTO_FOCUS_STATUS;
    v4l2_event_subscription subscription{};
    subscription.type = V4L2_EVENT_CTRL;
    subscription.id = V4L2_CID_AUTO_FOCUS_STATUS;
    return m_device->request(VIDIOC_QUERYCTRL, &query)
        && (query.flags & V4L2_CTRL_FLAG_VOLATILE) == 0
        && m_device->request(VIDIOC_SUBSCRIBE_EVENT, &subscription);
}

std::optional<int> FocusWatch::status() const
{
    const DriverVisit visit(m_devicePath);
    return m_device->control(V4L2_CID_AUTO_FOCUS_STATUS);
}

bool FocusWatch::takesEvent() const
{
    const DriverVisit visit(m_devicePath);
    v4l2_event event{};
    return m_device->request(VIDIOC_DQEVENT, &event);
}

void FocusWatch::tell(bool isAdjusting)
{
    const std::lock_guard lock(m_mutex);
    if (!m_isEnding) {
        m_observer(isAdjusting);
    }
}

void FocusWatch::watch()
{
    const bool hasEvents = subscribes();
    bool wasAdjusting = false;
    for (;;) {
        const auto now = status();
        const bool isAdjusting = (now.value_or(0) & V4L2_AUTO_FOCUS_STATUS_BUSY) != 0;
        if (isAdjusting != wasAdjusting) {
            wasAdjusting = isAdjusting;
            tell(isAdjusting);
        }
        pollfd descriptors[]{ { m_end.get(), POLLIN, 0 },
            { hasEvents ? m_device->descriptor() : -1, POLLPRI, 0 } };
        withoutInterruption([&] { return poll(descriptors, 2, hasEvents ? -1 : pollInterval); });
        // When the camera was pulled out, nothing more will come.
        const bool isGone = !now.has_value() || (descriptors[1].revents != 0 && !takesEvent());
        if (isGone || descriptors[0].revents != 0) {
            return;
        }
    }
}

class FocusObservation : public CaptureDevice::Observation {
public:
    explicit FocusObservation(std::shared_ptr<FocusWatch> watch)
        : m_watch(std::move(watch))
    {
        // Not joined: it may never come back from the driver.
        std::thread([watch = m_watch] {
            pthread_setname_np(pthread_self(), "focus");
            watch->run();
        }).detach();
    }
    ~FocusObservation() override { m_watch->end(); }
    FocusObservation(const FocusObservation&) = delete;
    FocusObservation& operator=(const FocusObservation&) = delete;

private:
    const std::shared_ptr<FocusWatch> m_watch;
};

/// Null when it does not tell of its focus.
std::shared_ptr<V4L2Device> focusingDevice(const QString& path)
{
    auto device = std::make_shared<V4L2Device>(path);
    const bool tells = device->isOpen() && device->control(V4L2_CID_AUTO_FOCUS_STATUS).has_value();
    return tells ? device : nullptr;
}

} // namespace

std::unique_ptr<CaptureDevice::Observation> observeFocus(
    const QString& devicePath, std::function<void(bool)> observer)
{
    auto device = askDriver(devicePath, [devicePath] {
        return focusingDevice(devicePath);
    }).value_or(nullptr);
    if (!device) {
        return nullptr;
    }
    return std::make_unique<FocusObservation>(
        std::make_shared<FocusWatch>(devicePath, std::move(device), std::move(observer)));
}

} // namespace platform
