#include "platform/camera/CameraPipeline.h"

#include "platform/camera/CameraRegistry.h"
#include "platform/services/FileDescriptor.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

using namespace std::chrono_literals;

constexpr auto formerCloseTimeout = 2s;
constexpr auto firstFrameTimeout = 2s;
constexpr auto queueDrainTime = 100ms;

struct Unref {
    void operator()(void* object) const { gst_object_unref(object); }
};
using Element = std::unique_ptr<GstElement, Unref>;

struct UnrefSample {
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
};
using Sample = std::unique_ptr<GstSample, UnrefSample>;

struct UnrefCaps {
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
};
using Caps = std::unique_ptr<GstCaps, UnrefCaps>;

/// Waits at the end of the process, up to a second, for threads that are closing cameras.
class OpenCameras {
public:
    static std::shared_ptr<OpenCameras> shared()
    {
        static const Wait wait;
        return wait.cameras;
    }

    void enter()
    {
        const std::lock_guard lock(m_mutex);
        ++m_count;
    }
    void leave()
    {
        const std::lock_guard lock(m_mutex);
        --m_count;
        m_changed.notify_all();
    }

private:
    struct Wait {
        ~Wait()
        {
            std::unique_lock lock(cameras->m_mutex);
            cameras->m_changed.wait_for(lock, 1s, [this] { return cameras->m_count == 0; });
        }
        const std::shared_ptr<OpenCameras> cameras = std::make_shared<OpenCameras>();
    };

    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count = 0;
};

/// Null when GStreamer is initialised; else the reason of the failure.
QString initialisationFailure()
{
    static const QString failure = [] {
        GError* error = nullptr;
        if (gst_init_check(nullptr, nullptr, &error)) {
            return QString();
        }
        QString reason = QString::fromUtf8(error ? error->message : "GStreamer failed");
        g_clear_error(&error);
        return reason;
    }();
    return failure;
}

Caps capsOf(const CameraFormat& format)
{
    using Encoding = CameraFormat::Encoding;
    static constexpr std::array<std::pair<Encoding, const char*>, 11> rawEncodings
        = { { { Encoding::BGRx, "BGRx" }, { Encoding::BGRA, "BGRA" }, { Encoding::RGBx, "RGBx" },
            { Encoding::RGBA, "RGBA" }, { Encoding::BGR, "BGR" }, { Encoding::RGB, "RGB" },
            { Encoding::YUY2, "YUY2" }, { Encoding::UYVY, "UYVY" }, { Encoding::NV12, "NV12" },
            { Encoding::I420, "I420" }, { Encoding::GRAY8, "GRAY8" } } };
    Caps caps(gst_caps_new_empty_simple(
        format.encoding == Encoding::JPEG ? "image/jpeg" : "video/x-raw"));
    for (const auto& [encoding, name] : rawEncodings) {
        if (encoding == format.encoding) {
            gst_caps_set_simple(caps.get(), "format", G_TYPE_STRING, name, nullptr);
        }
    }
    gst_caps_set_simple(caps.get(), "width", G_TYPE_INT, format.size.width(), "height", G_TYPE_INT,
        format.size.height(), nullptr);
    if (format.rateNumerator > 0) {
        gst_caps_set_simple(caps.get(), "framerate", GST_TYPE_FRACTION, format.rateNumerator,
            format.rateDenominator, nullptr);
    }
    return caps;
}

/// Null when GStreamer's plugin is not installed.
Element pipeWireSource(const CameraNode& camera, int remote)
{
    GstElement* source = gst_element_factory_make("pipewiresrc", nullptr);
    if (!source) {
        return nullptr;
    }
    // Keeps PipeWire from switching to another camera when this one is unplugged.
    GstStructure* properties
        = gst_structure_new("properties", "node.dont-reconnect", G_TYPE_STRING, "true", nullptr);
    // Without a copy the memory of a frame is freed with its camera, even during a conversion.
    g_object_set(source, "target-object", camera.name.toUtf8().constData(), "always-copy", TRUE,
        "do-timestamp", TRUE, "client-name", "Vellumcap", "stream-properties", properties, nullptr);
    gst_structure_free(properties);
    if (remote >= 0) {
        g_object_set(source, "fd", remote, nullptr);
    }
    return Element(source);
}

Element v4l2Source(const CameraNode& camera)
{
    GstElement* source = gst_element_factory_make("v4l2src", nullptr);
    if (!source) {
        return nullptr;
    }
    const QString& path = camera.devicePath.isEmpty() ? camera.name : camera.devicePath;
    g_object_set(source, "device", path.toUtf8().constData(), "do-timestamp", TRUE, nullptr);
    return Element(source);
}

/// A copy of the sample and its memory: a driver's buffers would keep the device open.
Sample copied(GstSample* sample)
{
    GstBuffer* buffer = gst_sample_get_buffer(sample);
    GstBuffer* copy = buffer ? gst_buffer_copy_deep(buffer) : nullptr;
    Sample result(gst_sample_new(copy, gst_sample_get_caps(sample), nullptr, nullptr));
    if (copy) {
        gst_buffer_unref(copy);
    }
    return result;
}

} // namespace

struct CameraPipeline::Run {
    void deliver(GstSample* sample)
    {
        const std::lock_guard lock(mutex);
        begin();
        if (!isEnding) {
            receivers.frame(sample);
        }
    }
    void fail(const QString& reason)
    {
        const std::lock_guard lock(mutex);
        begin();
        if (!isEnding) {
            receivers.failure(reason);
        }
    }
    void begin()
    {
        if (!hasBegun) {
            hasBegun = true;
            ending.notify_all();
        }
    }

    static GstFlowReturn takeSample(GstAppSink* sink, gpointer run);
    static GstBusSyncReply takeMessage(GstBus* bus, GstMessage* message, gpointer run);
    void playUntilEnd();
    Element built(const FileDescriptor& remote);

    CameraNode camera;
    CameraFormat format;
    CameraRegistry::Source source = CameraRegistry::Source::PipeWire;
    Receivers receivers;

    std::mutex mutex; // held while a receiver runs
    std::condition_variable ending;
    bool isEnding = false;
    bool hasBegun = false; // a frame or a failure has arrived
    std::promise<void> closing;
    std::shared_future<void> closed = closing.get_future().share();
};

GstFlowReturn CameraPipeline::Run::takeSample(GstAppSink* sink, gpointer run)
{
    if (const Sample sample{ gst_app_sink_pull_sample(sink) }) {
        auto& self = *static_cast<Run*>(run);
        const bool isDriverMemory = self.source == CameraRegistry::Source::V4L2;
        self.deliver(isDriverMemory ? copied(sample.get()).get() : sample.get());
    }
    return GST_FLOW_OK;
}

GstBusSyncReply CameraPipeline::Run::takeMessage(GstBus*, GstMessage* message, gpointer run)
{
    auto& self = *static_cast<Run*>(run);
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        self.fail(QString::fromUtf8(error->message));
        g_error_free(error);
    } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
        self.fail(u"The stream has ended"_s);
    }
    gst_message_unref(message);
    return GST_BUS_DROP;
}

/// Null when an element is missing.
Element CameraPipeline::Run::built(const FileDescriptor& remote)
{
    Element camSource = source == CameraRegistry::Source::V4L2
        ? v4l2Source(camera)
        : pipeWireSource(camera, remote.get());
    Element sink(gst_element_factory_make("appsink", nullptr));
    if (!camSource || !sink) {
        return nullptr;
    }
    g_object_set(sink.get(), "max-buffers", 1U, "drop", TRUE, "sync", FALSE, "enable-last-sample",
        FALSE, "caps", capsOf(format).get(), nullptr);
    GstAppSinkCallbacks callbacks = {};
    callbacks.new_sample = &Run::takeSample;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, this, nullptr);

    Element pipeline(gst_pipeline_new(nullptr));
    GstBus* bus = gst_element_get_bus(pipeline.get());
    gst_bus_set_sync_handler(bus, &Run::takeMessage, this, nullptr);
    gst_object_unref(bus);
    GstElement* const first = camSource.get();
    GstElement* const last = sink.get();
    gst_bin_add_many(GST_BIN(pipeline.get()), camSource.release(), sink.release(), nullptr);
    return gst_element_link(first, last) ? std::move(pipeline) : nullptr;
}

void CameraPipeline::Run::playUntilEnd()
{
    if (const QString failure = initialisationFailure(); !failure.isNull()) {
        fail(failure);
        return;
    }
    // The source uses the descriptor until it is closed.
    const FileDescriptor remote(CameraRegistry::shared().openRemote());
    const Element pipeline = built(remote);
    if (!pipeline) {
        fail(u"A plugin of GStreamer is missing"_s);
        return;
    }
    if (gst_element_set_state(pipeline.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) {
        fail(u"It cannot be opened"_s);
    }
    std::unique_lock lock(mutex);
    ending.wait(lock, [this] { return isEnding; });
    // PipeWire 0.3.65 may crash when a stream is destroyed while it is being set up.
    ending.wait_for(lock, firstFrameTimeout, [this] { return hasBegun; });
    lock.unlock();
    if (source != CameraRegistry::Source::V4L2) {
        // PipeWire 0.3.65 may crash when a stream is destroyed while buffers are queued for it. A
        // paused stream gets no more buffers; an empty queue is not reported.
        gst_element_set_state(pipeline.get(), GST_STATE_PAUSED);
        std::this_thread::sleep_for(queueDrainTime);
    }
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
}

CameraPipeline::CameraPipeline(const CameraNode& camera, const CameraFormat& format,
    Receivers receivers, std::shared_future<void> former)
    : m_run(std::make_shared<Run>())
{
    m_run->camera = camera;
    m_run->format = format;
    m_run->source = CameraRegistry::shared().source();
    m_run->receivers = std::move(receivers);
    const auto openCameras = OpenCameras::shared();
    openCameras->enter();
    std::thread([run = m_run, former = std::move(former), openCameras] {
        pthread_setname_np(pthread_self(), "camera");
        if (former.valid()) {
            former.wait_for(formerCloseTimeout);
        }
        bool wasEnded = false;
        {
            const std::lock_guard lock(run->mutex);
            wasEnded = run->isEnding;
        }
        if (!wasEnded) {
            run->playUntilEnd();
        }
        run->closing.set_value();
        openCameras->leave();
    }).detach();
}

CameraPipeline::~CameraPipeline()
{
    const std::lock_guard lock(m_run->mutex);
    m_run->isEnding = true;
    m_run->ending.notify_all();
}

std::shared_future<void> CameraPipeline::closed() const
{
    return m_run->closed;
}

} // namespace platform
