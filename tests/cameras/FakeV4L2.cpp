#include "FakeV4L2.h"

#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/videodev2.h>
#include <map>
#include <mutex>
#include <poll.h>
#include <set>
#include <string>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace cameras {

namespace {

constexpr unsigned full = 1;
constexpr unsigned webcam = 2;
constexpr unsigned oneShot = 4;

struct Control {
    quint32 id;
    quint32 type;
    int maximum;
    unsigned profiles;
    quint32 flags = 0;
};

constexpr quint32 button = V4L2_CTRL_FLAG_WRITE_ONLY | V4L2_CTRL_FLAG_EXECUTE_ON_WRITE;
constexpr Control controls[]{
    { V4L2_CID_AUTO_WHITE_BALANCE, V4L2_CTRL_TYPE_BOOLEAN, 1, full | webcam },
    { V4L2_CID_DO_WHITE_BALANCE, V4L2_CTRL_TYPE_BUTTON, 0, full | oneShot, button },
    { V4L2_CID_EXPOSURE_AUTO, V4L2_CTRL_TYPE_MENU, 3, full | webcam },
    { V4L2_CID_FOCUS_ABSOLUTE, V4L2_CTRL_TYPE_INTEGER, 255, full | webcam | oneShot },
    { V4L2_CID_FOCUS_AUTO, V4L2_CTRL_TYPE_BOOLEAN, 1, full | webcam },
    { V4L2_CID_AUTO_FOCUS_START, V4L2_CTRL_TYPE_BUTTON, 0, full | oneShot, button },
    { V4L2_CID_AUTO_FOCUS_STATUS, V4L2_CTRL_TYPE_BITMASK, 7, full, V4L2_CTRL_FLAG_READ_ONLY },
    { V4L2_CID_PRIVACY, V4L2_CTRL_TYPE_BOOLEAN, 1, full, V4L2_CTRL_FLAG_READ_ONLY },
};

struct Device {
    unsigned profile = 0;
    bool isBusy = false;
    bool hasEvents = true;
    std::map<quint32, int> values;
    std::map<quint32, int> presses;
    int priorityHolder = -1; ///< a descriptor
    std::vector<int> subscribers;
    std::set<unsigned long> held; ///< calls that block
};

struct World {
    std::mutex mutex; // guards the following
    std::map<std::string, Device> devices;
    std::map<int, std::string> descriptors;
    std::condition_variable released;
    int heldCalls = 0;
};

/// Usable before any constructor of the program and after any destructor, as descriptors are.
World& world()
{
    static auto* const all = new World;
    return *all;
}

Device made(FakeProfile profile)
{
    Device device;
    device.isBusy = profile == FakeProfile::Busy;
    switch (profile) {
    case FakeProfile::Full:
    case FakeProfile::Busy:
        device.profile = full;
        break;
    case FakeProfile::Webcam:
        device.profile = webcam;
        break;
    case FakeProfile::OneShot:
        device.profile = oneShot;
        break;
    case FakeProfile::Plain:
        break;
    }
    device.values[V4L2_CID_EXPOSURE_AUTO] = V4L2_EXPOSURE_MANUAL;
    return device;
}

/// Null when it is not a fake device. Call under the lock.
Device* deviceAt(const std::string& path)
{
    const auto found = world().devices.find(path);
    return found == world().devices.end() ? nullptr : &found->second;
}

/// Returns when the call is not held any more; the device may have been removed.
void passHold(std::unique_lock<std::mutex>& lock, const std::string& path, unsigned long call)
{
    const auto isHeld = [&] {
        const Device* device = deviceAt(path);
        return device != nullptr && device->held.count(call) > 0;
    };
    ++world().heldCalls;
    world().released.wait(lock, [&] { return !isHeld(); });
    --world().heldCalls;
}

const Control* controlOf(const Device& device, quint32 id)
{
    for (const Control& control : controls) {
        if (control.id == id && (control.profiles & device.profile) != 0) {
            return &control;
        }
    }
    return nullptr;
}

bool hasChoice(const Device& device, quint32 choice)
{
    return device.profile == webcam
        ? choice == V4L2_EXPOSURE_MANUAL || choice == V4L2_EXPOSURE_APERTURE_PRIORITY
        : choice <= V4L2_EXPOSURE_APERTURE_PRIORITY;
}

int setControl(Device& device, int descriptor, const v4l2_control& wanted)
{
    const Control* control = controlOf(device, wanted.id);
    if (control == nullptr) {
        return EINVAL;
    }
    if ((control->flags & V4L2_CTRL_FLAG_READ_ONLY) != 0) {
        return EACCES;
    }
    if (device.priorityHolder >= 0 && device.priorityHolder != descriptor) {
        return EBUSY;
    }
    if (control->type == V4L2_CTRL_TYPE_BUTTON) {
        ++device.presses[wanted.id];
        return 0;
    }
    if (wanted.value < 0 || wanted.value > control->maximum) {
        return ERANGE;
    }
    if (control->type == V4L2_CTRL_TYPE_MENU
        && !hasChoice(device, static_cast<quint32>(wanted.value))) {
        return EINVAL;
    }
    device.values[wanted.id] = wanted.value;
    return 0;
}

int describe(const Device& device, v4l2_queryctrl& query)
{
    const Control* control = controlOf(device, query.id);
    if (control == nullptr) {
        return EINVAL;
    }
    query.type = control->type;
    query.maximum = control->maximum;
    query.flags = control->flags;
    return 0;
}

int describe(v4l2_capability& capability)
{
    capability = {};
    qstrncpy(reinterpret_cast<char*>(capability.card), "Fake Camera", sizeof capability.card);
    capability.device_caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    capability.capabilities = capability.device_caps | V4L2_CAP_DEVICE_CAPS;
    return 0;
}

// YUYV at 640x480 with 15 or 30 frames per second, and JPEG in any size up to 1600x1200 at up
// to 30.
constexpr std::array<quint32, 3> formats{ V4L2_PIX_FMT_YUYV, V4L2_PIX_FMT_MJPEG,
    V4L2_PIX_FMT_H264 };

int describe(v4l2_fmtdesc& description)
{
    if (description.index >= formats.size()) {
        return EINVAL;
    }
    description.pixelformat = formats.at(description.index);
    return 0;
}

int describe(v4l2_frmsizeenum& size)
{
    if (size.index > 0) {
        return EINVAL;
    }
    if (size.pixel_format == V4L2_PIX_FMT_MJPEG) {
        size.type = V4L2_FRMSIZE_TYPE_STEPWISE;
        size.stepwise = { 160, 1600, 16, 120, 1200, 8 };
    } else {
        size.type = V4L2_FRMSIZE_TYPE_DISCRETE;
        size.discrete = { 640, 480 };
    }
    return 0;
}

int describe(v4l2_frmivalenum& interval)
{
    if (interval.pixel_format == V4L2_PIX_FMT_MJPEG && interval.index == 0) {
        interval.type = V4L2_FRMIVAL_TYPE_CONTINUOUS;
        interval.stepwise = { { 1, 30 }, { 1, 5 }, { 1, 1 } };
        return 0;
    }
    if (interval.pixel_format != V4L2_PIX_FMT_YUYV || interval.index > 1) {
        return EINVAL;
    }
    interval.type = V4L2_FRMIVAL_TYPE_DISCRETE;
    interval.discrete = { 1, interval.index == 0 ? 30u : 15u };
    return 0;
}

/// Zero or an errno.
int answer(Device& device, int descriptor, unsigned long code, void* argument)
{
    switch (code) {
    case VIDIOC_QUERYCAP:
        return describe(*static_cast<v4l2_capability*>(argument));
    case VIDIOC_ENUM_FMT:
        return describe(*static_cast<v4l2_fmtdesc*>(argument));
    case VIDIOC_ENUM_FRAMESIZES:
        return describe(*static_cast<v4l2_frmsizeenum*>(argument));
    case VIDIOC_ENUM_FRAMEINTERVALS:
        return describe(*static_cast<v4l2_frmivalenum*>(argument));
    case VIDIOC_QUERYCTRL:
        return describe(device, *static_cast<v4l2_queryctrl*>(argument));
    case VIDIOC_QUERYMENU: {
        const auto& menu = *static_cast<v4l2_querymenu*>(argument);
        return menu.id == V4L2_CID_EXPOSURE_AUTO && controlOf(device, menu.id) != nullptr
                && hasChoice(device, menu.index)
            ? 0
            : EINVAL;
    }
    case VIDIOC_G_CTRL: {
        auto& control = *static_cast<v4l2_control*>(argument);
        const Control* known = controlOf(device, control.id);
        if (known == nullptr || (known->flags & V4L2_CTRL_FLAG_WRITE_ONLY) != 0) {
            return known == nullptr ? EINVAL : EACCES;
        }
        control.value = device.values[control.id];
        return 0;
    }
    case VIDIOC_S_CTRL:
        return setControl(device, descriptor, *static_cast<v4l2_control*>(argument));
    case VIDIOC_S_PRIORITY:
        if (device.priorityHolder >= 0 && device.priorityHolder != descriptor) {
            return EBUSY;
        }
        device.priorityHolder = descriptor;
        return 0;
    case VIDIOC_REQBUFS:
        return device.isBusy ? EBUSY : 0;
    case VIDIOC_SUBSCRIBE_EVENT:
        if (!device.hasEvents) {
            return ENOTTY;
        }
        device.subscribers.push_back(descriptor);
        return 0;
    case VIDIOC_DQEVENT: {
        eventfd_t events = 0;
        return eventfd_read(descriptor, &events) == 0 ? 0 : ENOENT;
    }
    default:
        return ENOTTY;
    }
}

/// The function of the C library, or of a sanitizer that wraps it.
template <typename Function> Function* next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int openFake(const char* path)
{
    std::unique_lock lock(world().mutex);
    passHold(lock, path, fakeOpening);
    if (deviceAt(path) == nullptr) {
        return -1;
    }
    const int descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    world().descriptors[descriptor] = path;
    return descriptor;
}

bool isFake(int descriptor)
{
    const std::lock_guard lock(world().mutex);
    return world().descriptors.find(descriptor) != world().descriptors.end();
}

} // namespace

void addFakeDevice(const QString& path, FakeProfile profile)
{
    const std::lock_guard lock(world().mutex);
    world().devices[path.toStdString()] = made(profile);
}

void removeFakeDevices()
{
    const std::lock_guard lock(world().mutex);
    for (const auto& [path, device] : world().devices) {
        for (const int descriptor : device.subscribers) {
            eventfd_write(descriptor, 1);
        }
    }
    world().devices.clear();
    world().released.notify_all();
}

void holdFakeCalls(const QString& path, unsigned long call)
{
    const std::lock_guard lock(world().mutex);
    world().devices.at(path.toStdString()).held.insert(call);
}

void releaseFakeCalls()
{
    const std::lock_guard lock(world().mutex);
    for (auto& [path, device] : world().devices) {
        device.held.clear();
    }
    world().released.notify_all();
}

int heldFakeCalls()
{
    const std::lock_guard lock(world().mutex);
    return world().heldCalls;
}

int fakeControl(const QString& path, quint32 control)
{
    const std::lock_guard lock(world().mutex);
    return world().devices.at(path.toStdString()).values[control];
}

int fakePresses(const QString& path, quint32 control)
{
    const std::lock_guard lock(world().mutex);
    return world().devices.at(path.toStdString()).presses[control];
}

void setFakeControl(const QString& path, quint32 control, int value)
{
    const std::lock_guard lock(world().mutex);
    Device& device = world().devices.at(path.toStdString());
    device.values[control] = value;
    for (const int descriptor : device.subscribers) {
        eventfd_write(descriptor, 1);
    }
}

void setFakeEvents(const QString& path, bool offered)
{
    const std::lock_guard lock(world().mutex);
    world().devices.at(path.toStdString()).hasEvents = offered;
}

} // namespace cameras

// These replace the C library's functions of the same names.
extern "C" {
int fakeOpen(const char* path, int flags, ...) asm("open");
int fakeIoctl(int descriptor, unsigned long code, ...) asm("ioctl");
int fakeClose(int descriptor) asm("close");
int fakePoll(pollfd* polled, nfds_t count, int timeout) asm("poll");
}

int fakeOpen(const char* path, int flags, ...)
{
    const int fake = cameras::openFake(path);
    if (fake >= 0) {
        return fake;
    }
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    static auto* const real = cameras::next<int(const char*, int, ...)>("open");
    return real(path, flags, mode);
}

int fakeIoctl(int descriptor, unsigned long code, ...)
{
    std::va_list arguments;
    va_start(arguments, code);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    {
        std::unique_lock lock(cameras::world().mutex);
        const auto found = cameras::world().descriptors.find(descriptor);
        if (found != cameras::world().descriptors.end()) {
            const std::string path = found->second;
            cameras::passHold(lock, path, code);
            cameras::Device* device = cameras::deviceAt(path);
            errno
                = device == nullptr ? ENODEV : cameras::answer(*device, descriptor, code, argument);
            return errno == 0 ? 0 : -1;
        }
    }
    static auto* const real = cameras::next<int(int, unsigned long, ...)>("ioctl");
    return real(descriptor, code, argument);
}

int fakeClose(int descriptor)
{
    {
        std::unique_lock lock(cameras::world().mutex);
        const auto found = cameras::world().descriptors.find(descriptor);
        if (found != cameras::world().descriptors.end()) {
            const std::string path = found->second;
            cameras::passHold(lock, path, cameras::fakeClosing);
            if (cameras::Device* device = cameras::deviceAt(path)) {
                std::erase(device->subscribers, descriptor);
                if (device->priorityHolder == descriptor) {
                    device->priorityHolder = -1;
                }
            }
            cameras::world().descriptors.erase(descriptor);
        }
    }
    static auto* const real = cameras::next<int(int)>("close");
    return real(descriptor);
}

// An event is urgent data of a device, but plain data of the descriptor that replaces it.
int fakePoll(pollfd* polled, nfds_t count, int timeout)
{
    static auto* const real = cameras::next<int(pollfd*, nfds_t, int)>("poll");
    std::vector<pollfd> standIns(polled, polled + count);
    for (pollfd& each : standIns) {
        if ((each.events & POLLPRI) != 0 && cameras::isFake(each.fd)) {
            each.events = POLLIN;
        }
    }
    const int result = real(standIns.data(), count, timeout);
    for (nfds_t i = 0; i < count; ++i) {
        polled[i].revents = standIns[i].events == polled[i].events || standIns[i].revents == 0
            ? standIns[i].revents
            : short(POLLPRI);
    }
    return result;
}
