#include "platform/camera/V4L2Device.h"

#include "platform/camera/DriverCall.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

using Encoding = CameraFormat::Encoding;

struct PixelFormat {
    quint32 code;
    Encoding encoding;
};

constexpr PixelFormat pixelFormats[]{
    { V4L2_PIX_FMT_XBGR32, Encoding::BGRx },
    { V4L2_PIX_FMT_ABGR32, Encoding::BGRA },
    { V4L2_PIX_FMT_BGR32, Encoding::BGRx },
    { V4L2_PIX_FMT_RGBX32, Encoding::RGBx },
    { V4L2_PIX_FMT_RGBA32, Encoding::RGBA },
    { V4L2_PIX_FMT_BGR24, Encoding::BGR },
    { V4L2_PIX_FMT_RGB24, Encoding::RGB },
    { V4L2_PIX_FMT_YUYV, Encoding::YUY2 },
    { V4L2_PIX_FMT_UYVY, Encoding::UYVY },
    { V4L2_PIX_FMT_NV12, Encoding::NV12 },
    { V4L2_PIX_FMT_YUV420, Encoding::I420 },
    { V4L2_PIX_FMT_GREY, Encoding::GRAY8 },
    { V4L2_PIX_FMT_MJPEG, Encoding::JPEG },
    { V4L2_PIX_FMT_JPEG, Encoding::JPEG },
};

constexpr quint32 mostItems = 1000; // of any list, in case a driver never ends one

QSize sizeOf(quint32 width, quint32 height)
{
    return { static_cast<int>(width), static_cast<int>(height) };
}

QList<QSize> frameSizes(const V4L2Device& device, quint32 pixelFormat)
{
    QList<QSize> sizes;
    v4l2_frmsizeenum size{};
    size.pixel_format = pixelFormat;
    while (size.index < mostItems && device.request(VIDIOC_ENUM_FRAMESIZES, &size)) {
        if (size.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
            sizes.append(sizeOf(size.discrete.width, size.discrete.height));
            ++size.index;
            continue;
        }
        const QSize lowest = sizeOf(size.stepwise.min_width, size.stepwise.min_height);
        const QSize highest = sizeOf(size.stepwise.max_width, size.stepwise.max_height);
        sizes = { lowest, highest };
        for (const QSize usual : { QSize(1920, 1080), QSize(1280, 720), QSize(640, 480) }) {
            if (usual.boundedTo(highest) == usual && usual.expandedTo(lowest) == usual) {
                sizes.append(usual);
            }
        }
        break;
    }
    return sizes;
}

/// An interval of 1/30 s is a rate of 30/1.
void takeInterval(CameraFormat& format, const v4l2_fract& interval)
{
    if (interval.numerator == 0 || interval.denominator == 0) {
        return;
    }
    const double rate = static_cast<double>(interval.denominator) / interval.numerator;
    if (rate > format.highestRate()) {
        format.rateNumerator = static_cast<int>(interval.denominator);
        format.rateDenominator = static_cast<int>(interval.numerator);
    }
    if (format.lowestRate == 0 || rate < format.lowestRate) {
        format.lowestRate = rate;
    }
}

void takeIntervals(const V4L2Device& device, quint32 pixelFormat, CameraFormat& format)
{
    v4l2_frmivalenum interval{};
    interval.pixel_format = pixelFormat;
    interval.width = static_cast<quint32>(format.size.width());
    interval.height = static_cast<quint32>(format.size.height());
    while (interval.index < mostItems && device.request(VIDIOC_ENUM_FRAMEINTERVALS, &interval)) {
        if (interval.type != V4L2_FRMIVAL_TYPE_DISCRETE) {
            takeInterval(format, interval.stepwise.min);
            takeInterval(format, interval.stepwise.max);
            break;
        }
        takeInterval(format, interval.discrete);
        ++interval.index;
    }
}

/// Empty when it cannot be opened or is not a camera.
std::optional<CameraNode> cameraAt(const QString& path)
{
    const V4L2Device device(path);
    if (!device.isOpen() || !device.isCamera()) {
        return std::nullopt;
    }
    CameraNode node;
    node.name = path;
    node.devicePath = path;
    node.description = device.cardName();
    node.formats = device.formats();
    return node;
}

} // namespace

V4L2Device::V4L2Device(const QString& path)
    : m_descriptor(withoutInterruption([&path] {
        return ::open(QFile::encodeName(path).constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    }))
{
}

bool V4L2Device::request(unsigned long code, void* argument) const
{
    return withoutInterruption([&] { return ::ioctl(descriptor(), code, argument); }) == 0;
}

bool V4L2Device::hasControl(quint32 id) const
{
    v4l2_queryctrl query{};
    query.id = id;
    constexpr quint32 cannotBeSet = V4L2_CTRL_FLAG_DISABLED | V4L2_CTRL_FLAG_READ_ONLY;
    return request(VIDIOC_QUERYCTRL, &query) && (query.flags & cannotBeSet) == 0;
}

bool V4L2Device::hasChoice(quint32 id, int choice) const
{
    v4l2_querymenu query{};
    query.id = id;
    query.index = static_cast<quint32>(choice);
    return hasControl(id) && request(VIDIOC_QUERYMENU, &query);
}

std::optional<int> V4L2Device::control(quint32 id) const
{
    v4l2_control control{ id, 0 };
    return request(VIDIOC_G_CTRL, &control) ? std::optional(control.value) : std::nullopt;
}

bool V4L2Device::setControl(quint32 id, int value) const
{
    v4l2_control control{ id, value };
    return request(VIDIOC_S_CTRL, &control);
}

bool V4L2Device::isBusy() const
{
    v4l2_requestbuffers buffers{};
    buffers.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffers.memory = V4L2_MEMORY_MMAP;
    return !request(VIDIOC_REQBUFS, &buffers) && errno == EBUSY;
}

bool V4L2Device::claimPriority() const
{
    quint32 priority = V4L2_PRIORITY_RECORD;
    // A driver without priorities lets every program set its controls.
    return request(VIDIOC_S_PRIORITY, &priority) || errno == ENOTTY || errno == EINVAL;
}

bool V4L2Device::isCamera() const
{
    v4l2_capability capability{};
    if (!request(VIDIOC_QUERYCAP, &capability)) {
        return false;
    }
    const quint32 offered = (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0
        ? capability.device_caps
        : capability.capabilities;
    constexpr quint32 needed = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    return (offered & needed) == needed && (offered & V4L2_CAP_VIDEO_OUTPUT) == 0;
}

QString V4L2Device::cardName() const
{
    v4l2_capability capability{};
    if (!request(VIDIOC_QUERYCAP, &capability)) {
        return {};
    }
    const auto* name = reinterpret_cast<const char*>(capability.card);
    return QString::fromUtf8(name, static_cast<qsizetype>(strnlen(name, sizeof capability.card)));
}

QList<CameraFormat> V4L2Device::formats() const
{
    QList<CameraFormat> formats;
    v4l2_fmtdesc description{};
    description.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    for (; description.index < mostItems && request(VIDIOC_ENUM_FMT, &description);
         ++description.index) {
        const auto* known = std::find_if(std::begin(pixelFormats), std::end(pixelFormats),
            [&](const PixelFormat& each) { return each.code == description.pixelformat; });
        if (known == std::end(pixelFormats)) {
            continue;
        }
        for (const QSize size : frameSizes(*this, description.pixelformat)) {
            CameraFormat format{ known->encoding, size };
            takeIntervals(*this, description.pixelformat, format);
            formats.append(format);
        }
    }
    return formats;
}

QList<CameraNode> v4l2Cameras(const QString& folder)
{
    QStringList names
        = QDir(folder).entryList({ u"video[0-9]*"_s }, QDir::System | QDir::Files, QDir::NoSort);
    const auto number = [](const QString& name) { return QStringView(name).mid(5).toInt(); };
    std::sort(names.begin(), names.end(),
        [&](const QString& left, const QString& right) { return number(left) < number(right); });
    QList<CameraNode> cameras;
    for (const QString& name : names) {
        const QString path = folder + u'/' + name;
        const auto node = askDriver(path, [path] { return cameraAt(path); });
        if (node && *node) {
            cameras.append(**node);
        }
    }
    return cameras;
}

} // namespace platform
