#include "platform/camera/CameraControls.h"
#include "platform/camera/V4L2Device.h"

#include <linux/videodev2.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>

namespace platform {

namespace {

constexpr int pollInterval = 100; // milliseconds, where the driver sends no events

/// Reads the auto-focus status whenever the driver says that it has changed, or now and then.
class FocusObservation : public CaptureDevice::Observation {
public:
    FocusObservation(V4L2Device device, std::function<void(bool)> observer)
        : m_device(std::move(device))
        , m_observer(std::move(observer))
        , m_end(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
        , m_thread([this] { run(); })
    {
    }
    ~FocusObservation() override
    {
        eventfd_write(m_end.get(), 1);
        m_thread.join();
    }
    FocusObservation(const FocusObservation&) = delete;
    FocusObservation& operator=(const FocusObservation&) = delete;

private:
    void run();

    V4L2Device m_device;
    std::function<void(bool)> m_observer;
    FileDescriptor m_end;
    std::thread m_thread;
};

void FocusObservation::run()
{
    v4l2_event_subscription subscription{};
    subscription.type = V4L2_EVENT_CTRL;
    subscription.id = V4L2_CID_AUTO_FOCUS_STATUS;
    // A status that the driver reads from the camera when asked is volatile, and sends no events.
    v4l2_queryctrl query{};
    query.id = V4L2_CID_AUTO_FOCUS_STATUS;
    const bool isVolatile = !m_device.request(VIDIOC_QUERYCTRL, &query)
        || (query.flags & V4L2_CTRL_FLAG_VOLATILE) != 0;
    const bool hasEvents = !isVolatile && m_device.request(VIDIOC_SUBSCRIBE_EVENT, &subscription);

    bool wasAdjusting = false;
    for (;;) {
        const auto status = m_device.control(V4L2_CID_AUTO_FOCUS_STATUS);
        const bool isAdjusting = (status.value_or(0) & V4L2_AUTO_FOCUS_STATUS_BUSY) != 0;
        if (isAdjusting != wasAdjusting) {
            wasAdjusting = isAdjusting;
            m_observer(isAdjusting);
        }
        pollfd descriptors[]{ { m_end.get(), POLLIN, 0 },
            { hasEvents ? m_device.descriptor() : -1, POLLPRI, 0 } };
        withoutInterruption([&] { return poll(descriptors, 2, hasEvents ? -1 : pollInterval); });
        v4l2_event event{};
        const bool isGone = !status.has_value()
            || (descriptors[1].revents != 0 && !m_device.request(VIDIOC_DQEVENT, &event));
        if (isGone) { // the camera was pulled out: nothing more will come
            descriptors[1].fd = -1;
            withoutInterruption([&] { return poll(descriptors, 1, -1); });
        }
        if (isGone || descriptors[0].revents != 0) {
            return;
        }
    }
}

} // namespace

std::unique_ptr<CaptureDevice::Observation> observeFocus(
    const QString& devicePath, std::function<void(bool)> observer)
{
    V4L2Device device(devicePath);
    if (!device.isOpen() || !device.control(V4L2_CID_AUTO_FOCUS_STATUS).has_value()) {
        return nullptr;
    }
    return std::make_unique<FocusObservation>(std::move(device), std::move(observer));
}

} // namespace platform
