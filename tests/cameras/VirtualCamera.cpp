#include "VirtualCamera.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <pipewire/pipewire.h>
#include <spa/param/buffers.h>
#include <spa/param/props.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>
#include <spa/pod/parser.h>
#include <unistd.h>

namespace cameras {

namespace {

struct RawFormat {
    const char* name;
    spa_video_format format;
};

constexpr RawFormat rawFormats[]{
    { "BGRx", SPA_VIDEO_FORMAT_BGRx },
    { "BGRA", SPA_VIDEO_FORMAT_BGRA },
    { "RGBx", SPA_VIDEO_FORMAT_RGBx },
    { "RGB", SPA_VIDEO_FORMAT_RGB },
    { "YUY2", SPA_VIDEO_FORMAT_YUY2 },
    { "UYVY", SPA_VIDEO_FORMAT_UYVY },
    { "NV12", SPA_VIDEO_FORMAT_NV12 },
    { "I420", SPA_VIDEO_FORMAT_I420 },
    { "GRAY8", SPA_VIDEO_FORMAT_GRAY8 },
};

spa_video_format rawFormat(const QString& encoding)
{
    for (const RawFormat& raw : rawFormats) {
        if (encoding == QLatin1String(raw.name)) {
            return raw.format;
        }
    }
    return SPA_VIDEO_FORMAT_UNKNOWN;
}

spa_rectangle rectangle(QSize size)
{
    return { static_cast<uint32_t>(size.width()), static_cast<uint32_t>(size.height()) };
}

/// Parameters of a stream, and their memory.
class Parameters {
public:
    Parameters() { spa_pod_builder_init(&m_builder, m_memory, sizeof m_memory); }
    Parameters(const Parameters&) = delete;
    Parameters& operator=(const Parameters&) = delete;

    void addFormat(const CameraMode& mode);
    void addControl(const CameraControl& control);
    void addBuffers(int size, int stride);

    const spa_pod** list() { return m_list; }
    uint32_t count() const { return m_count; }

private:
    void append(void* pod) { m_list[m_count++] = static_cast<spa_pod*>(pod); }

    uint8_t m_memory[16384];
    spa_pod_builder m_builder{};
    const spa_pod* m_list[64]{};
    uint32_t m_count = 0;
};

void Parameters::addFormat(const CameraMode& mode)
{
    spa_pod_frame frame;
    const spa_rectangle size = rectangle(mode.size);
    const spa_fraction rate{ static_cast<uint32_t>(mode.rate), 1 };
    spa_pod_builder_push_object(&m_builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    const spa_video_format raw = rawFormat(mode.encoding);
    spa_pod_builder_prop(&m_builder, SPA_FORMAT_mediaType, 0);
    spa_pod_builder_id(&m_builder, SPA_MEDIA_TYPE_video);
    spa_pod_builder_prop(&m_builder, SPA_FORMAT_mediaSubtype, 0);
    spa_pod_builder_id(&m_builder,
        raw == SPA_VIDEO_FORMAT_UNKNOWN ? SPA_MEDIA_SUBTYPE_mjpg : SPA_MEDIA_SUBTYPE_raw);
    if (raw != SPA_VIDEO_FORMAT_UNKNOWN) {
        spa_pod_builder_prop(&m_builder, SPA_FORMAT_VIDEO_format, 0);
        spa_pod_builder_id(&m_builder, raw);
    }
    spa_pod_builder_prop(&m_builder, SPA_FORMAT_VIDEO_size, 0);
    spa_pod_builder_rectangle(&m_builder, size.width, size.height);
    spa_pod_builder_prop(&m_builder, SPA_FORMAT_VIDEO_framerate, 0);
    spa_pod_builder_fraction(&m_builder, rate.num, rate.denom);
    append(spa_pod_builder_pop(&m_builder, &frame));
}

void Parameters::addControl(const CameraControl& control)
{
    spa_pod_frame object;
    spa_pod_frame inner;
    spa_pod_builder_push_object(&m_builder, &object, SPA_TYPE_OBJECT_PropInfo, SPA_PARAM_PropInfo);
    spa_pod_builder_prop(&m_builder, SPA_PROP_INFO_id, 0);
    spa_pod_builder_id(&m_builder, SPA_PROP_START_CUSTOM + control.id);
    spa_pod_builder_prop(&m_builder, SPA_PROP_INFO_type, 0);
    if (control.choices.isEmpty()) {
        spa_pod_builder_push_choice(&m_builder, &inner, SPA_CHOICE_Enum, 0);
        for (const bool value : { false, true, false }) {
            spa_pod_builder_bool(&m_builder, value);
        }
        spa_pod_builder_pop(&m_builder, &inner);
    } else {
        spa_pod_builder_int(&m_builder, control.choices.first());
        spa_pod_builder_prop(&m_builder, SPA_PROP_INFO_labels, 0);
        spa_pod_builder_push_struct(&m_builder, &inner);
        for (const int choice : control.choices) {
            spa_pod_builder_int(&m_builder, choice);
            spa_pod_builder_string(&m_builder, "a choice");
        }
        spa_pod_builder_pop(&m_builder, &inner);
    }
    append(spa_pod_builder_pop(&m_builder, &object));
}

void Parameters::addBuffers(int size, int stride)
{
    spa_pod_frame frame;
    spa_pod_builder_push_object(
        &m_builder, &frame, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    const auto number = [this](uint32_t key, int value) {
        spa_pod_builder_prop(&m_builder, key, 0);
        spa_pod_builder_int(&m_builder, value);
    };
    spa_pod_builder_prop(&m_builder, SPA_PARAM_BUFFERS_buffers, 0);
    spa_pod_frame choice;
    spa_pod_builder_push_choice(&m_builder, &choice, SPA_CHOICE_Range, 0);
    for (const int buffers : { 8, 2, 16 }) { // the usual number, the fewest, the most
        spa_pod_builder_int(&m_builder, buffers);
    }
    spa_pod_builder_pop(&m_builder, &choice);
    number(SPA_PARAM_BUFFERS_blocks, 1);
    number(SPA_PARAM_BUFFERS_size, size);
    number(SPA_PARAM_BUFFERS_stride, stride);
    append(spa_pod_builder_pop(&m_builder, &frame));

    spa_pod_builder_push_object(&m_builder, &frame, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
    spa_pod_builder_prop(&m_builder, SPA_PARAM_META_type, 0);
    spa_pod_builder_id(&m_builder, SPA_META_Header);
    number(SPA_PARAM_META_size, static_cast<int>(sizeof(spa_meta_header)));
    append(spa_pod_builder_pop(&m_builder, &frame));
}

void print(const QByteArray& line)
{
    std::puts(line.constData());
    std::fflush(stdout);
}

} // namespace

struct VirtualCamera::State {
    Properties properties;
    QImage picture;
    CameraMode mode;
    CameraFrame frame;
    bool isReady = false;
    bool isRead = false; ///< a format has been negotiated
    bool isFrozen = false;
    bool isDestroying = false; ///< state changes of the stream are ignored
    bool refuses = false;
    bool failed = false;
    quint64 sequence = 0;
    QByteArray input; ///< an incomplete line
    QByteArray answer = "ready"; ///< printed when the camera is listed

    pw_main_loop* loop = nullptr;
    pw_stream* stream = nullptr;
    spa_source* timer = nullptr;
    spa_source* commands = nullptr;

    State(Properties of, QImage seen);
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    bool connect();
    void renderFrame();
    bool setModes(const QString& modes);
    void changeFormats();
    void updateFormats();
    void negotiated(const spa_pod* format);
    void printControls(const spa_pod* values) const;
    void sendFrame();
    void setTimer(bool running);
    void changeState(pw_stream_state now, const char* error);
    void readCommands();
    void execute(const QString& command);

    static State* from(void* data) { return static_cast<State*>(data); }
};

VirtualCamera::State::State(Properties of, QImage seen)
    : properties(std::move(of))
    , picture(std::move(seen))
    , mode(properties.modes.first())
{
    pw_init(nullptr, nullptr);
    loop = pw_main_loop_new(nullptr);
    pw_loop* events = pw_main_loop_get_loop(loop);
    timer = pw_loop_add_timer(
        events,
        [](void* data, uint64_t) {
            if (!from(data)->isFrozen) {
                pw_stream_trigger_process(from(data)->stream);
            }
        },
        this);
    commands = pw_loop_add_io(
        events, STDIN_FILENO, SPA_IO_IN | SPA_IO_HUP | SPA_IO_ERR, false,
        [](void* data, int, uint32_t) { from(data)->readCommands(); }, this);
    renderFrame();
}

VirtualCamera::State::~State()
{
    if (stream != nullptr) {
        pw_stream_destroy(stream);
    }
    pw_main_loop_destroy(loop);
    pw_deinit();
}

bool VirtualCamera::State::connect()
{
    static const pw_stream_events events = [] {
        pw_stream_events result{};
        result.version = PW_VERSION_STREAM_EVENTS;
        result.state_changed = [](void* data, pw_stream_state, pw_stream_state now,
                                   const char* error) { from(data)->changeState(now, error); };
        result.param_changed = [](void* data, uint32_t id, const spa_pod* pod) {
            if (id == SPA_PARAM_Format) {
                from(data)->negotiated(pod);
            } else if (pod != nullptr && id == SPA_PARAM_Props) {
                from(data)->printControls(pod);
            }
        };
        result.process = [](void* data) { from(data)->sendFrame(); };
        return result;
    }();
    pw_properties* node = pw_properties_new(
        PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_MEDIA_ROLE, "Camera", nullptr);
    pw_properties_set(node, PW_KEY_NODE_NAME, qUtf8Printable(properties.name));
    pw_properties_set(node, PW_KEY_NODE_DESCRIPTION, qUtf8Printable(properties.description));
    for (auto each = properties.others.cbegin(); each != properties.others.cend(); ++each) {
        pw_properties_set(node, qUtf8Printable(each.key()), qUtf8Printable(each.value()));
    }
    stream = pw_stream_new_simple(
        pw_main_loop_get_loop(loop), qUtf8Printable(properties.name), node, &events, this);
    Parameters parameters;
    for (const CameraMode& each : properties.modes) {
        parameters.addFormat(each);
    }
    for (const CameraControl& control : properties.controls) {
        parameters.addControl(control);
    }
    constexpr auto flags
        = static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS);
    return stream != nullptr
        && pw_stream_connect(
               stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, parameters.list(), parameters.count())
        >= 0;
}

void VirtualCamera::State::renderFrame()
{
    frame = encodedFrame(seenPicture(picture, mode.size), mode.encoding);
}

bool VirtualCamera::State::setModes(const QString& modes)
{
    QList<CameraMode> taken;
    for (const QString& text : modes.split(u' ', Qt::SkipEmptyParts)) {
        if (const auto each = CameraMode::parsed(text)) {
            taken.append(*each);
        }
    }
    if (taken.isEmpty()) {
        std::fprintf(stderr, "virtual_camera: no modes: %ls\n", modes.toStdWString().c_str());
        return false;
    }
    properties.modes = taken;
    return true;
}

void VirtualCamera::State::changeFormats()
{
    if (isRead) { // like hardware cameras that switch to another mode
        isDestroying = true;
        pw_stream_destroy(stream);
        isDestroying = false;
        isReady = false;
        isRead = false;
        connect();
        return;
    }
    updateFormats();
}

void VirtualCamera::State::updateFormats()
{
    Parameters parameters;
    for (const CameraMode& each : properties.modes) {
        parameters.addFormat(each);
    }
    pw_stream_update_params(stream, parameters.list(), parameters.count());
}

void VirtualCamera::State::negotiated(const spa_pod* format)
{
    isRead = format != nullptr;
    if (!isRead) {
        return;
    }
    if (refuses) {
        pw_stream_set_error(stream, -EBUSY, "the camera refuses");
        return;
    }
    // The negotiated values may still be wrapped in a choice with one value.
    uint32_t raw = SPA_VIDEO_FORMAT_UNKNOWN;
    spa_rectangle size{};
    spa_fraction rate{};
    spa_pod_parse_object(format, SPA_TYPE_OBJECT_Format, nullptr, SPA_FORMAT_VIDEO_format,
        SPA_POD_OPT_Id(&raw), SPA_FORMAT_VIDEO_size, SPA_POD_OPT_Rectangle(&size),
        SPA_FORMAT_VIDEO_framerate, SPA_POD_OPT_Fraction(&rate));
    for (const CameraMode& each : properties.modes) {
        const spa_rectangle offered = rectangle(each.size);
        if (rawFormat(each.encoding) == raw && offered.width == size.width
            && offered.height == size.height
            && static_cast<int>(rate.num) == each.rate * static_cast<int>(rate.denom)) {
            mode = each;
        }
    }
    renderFrame();
    Parameters parameters;
    const bool isRaw = frame.stride > 0;
    parameters.addBuffers(
        isRaw ? static_cast<int>(frame.bytes.size()) : largestFrame(mode), frame.stride);
    pw_stream_update_params(stream, parameters.list(), parameters.count());
}

void VirtualCamera::State::printControls(const spa_pod* values) const
{
    const auto* object = reinterpret_cast<const spa_pod_object*>(values);
    const spa_pod_prop* each = nullptr;
    SPA_POD_OBJECT_FOREACH(object, each)
    {
        int number = 0;
        bool flag = false;
        if (each->key < SPA_PROP_START_CUSTOM) {
            continue;
        }
        if (spa_pod_get_bool(&each->value, &flag) == 0) {
            number = flag ? 1 : 0;
        } else if (spa_pod_get_int(&each->value, &number) != 0) {
            continue;
        }
        print("control 0x" + QByteArray::number(each->key - SPA_PROP_START_CUSTOM, 16) + ' '
            + QByteArray::number(number));
    }
}

void VirtualCamera::State::sendFrame()
{
    pw_buffer* buffer = pw_stream_dequeue_buffer(stream);
    if (buffer == nullptr) {
        return;
    }
    const spa_data& data = buffer->buffer->datas[0];
    const auto size = static_cast<uint32_t>(frame.bytes.size());
    if (data.data != nullptr && data.maxsize >= size) {
        std::memcpy(data.data, frame.bytes.constData(), size);
        *data.chunk = { 0, size, frame.stride, 0 };
        if (auto* header = static_cast<spa_meta_header*>(spa_buffer_find_meta_data(
                buffer->buffer, SPA_META_Header, sizeof(spa_meta_header)))) {
            timespec now{};
            clock_gettime(CLOCK_MONOTONIC, &now);
            header->flags = 0;
            header->pts = SPA_TIMESPEC_TO_NSEC(&now);
            header->dts_offset = 0;
            header->seq = sequence++;
        }
    } else {
        *data.chunk = { 0, 0, 0, SPA_CHUNK_FLAG_CORRUPTED };
    }
    pw_stream_queue_buffer(stream, buffer);
}

void VirtualCamera::State::setTimer(bool running)
{
    const timespec now{ 0, running ? 1 : 0 };
    const timespec interval{ 0, running ? 1'000'000'000L / mode.rate : 0 };
    pw_loop_update_timer(pw_main_loop_get_loop(loop), timer, const_cast<timespec*>(&now),
        const_cast<timespec*>(&interval), false);
}

void VirtualCamera::State::changeState(pw_stream_state now, const char* error)
{
    setTimer(now == PW_STREAM_STATE_STREAMING);
    if (isDestroying) {
        return;
    }
    if (now == PW_STREAM_STATE_PAUSED && !isReady) {
        isReady = true;
        print(answer);
    } else if ((now == PW_STREAM_STATE_ERROR && !refuses)
        || (now == PW_STREAM_STATE_UNCONNECTED && isReady)) {
        std::fprintf(stderr, "virtual_camera: %s\n", error != nullptr ? error : "removed");
        failed = true;
        pw_main_loop_quit(loop);
    }
}

void VirtualCamera::State::readCommands()
{
    char bytes[4096];
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    if (count <= 0) {
        pw_main_loop_quit(loop);
        return;
    }
    input.append(bytes, count);
    for (qsizetype end = input.indexOf('\n'); end >= 0; end = input.indexOf('\n')) {
        execute(QString::fromUtf8(input.left(end)));
        input.remove(0, end + 1);
    }
}

void VirtualCamera::State::execute(const QString& command)
{
    const QString word = command.section(u' ', 0, 0);
    const QString rest = command.section(u' ', 1);
    if (word == QLatin1String("freeze") || word == QLatin1String("thaw")) {
        isFrozen = word == QLatin1String("freeze");
    } else if (word == QLatin1String("image")) {
        if (!picture.load(rest)) {
            std::fprintf(stderr, "virtual_camera: no picture: %ls\n", rest.toStdWString().c_str());
        }
        renderFrame();
    } else if (word == QLatin1String("formats")) {
        answer = "done " + command.toUtf8();
        if (!setModes(rest)) {
            return;
        }
        changeFormats();
        if (!isReady) {
            return;
        }
    } else if (word == QLatin1String("renegotiate")) {
        if (!setModes(rest)) {
            return;
        }
        updateFormats();
    } else if (word == QLatin1String("lie")) {
        const auto lied = CameraMode::parsed(rest);
        if (!lied) {
            return;
        }
        frame = encodedFrame(seenPicture(picture, lied->size), lied->encoding);
    } else if (word == QLatin1String("refuse")) {
        refuses = true;
    } else if (word == QLatin1String("quit")) {
        pw_main_loop_quit(loop);
    } else {
        std::fprintf(
            stderr, "virtual_camera: unknown command: %ls\n", command.toStdWString().c_str());
        return;
    }
    print("done " + command.toUtf8());
}

VirtualCamera::VirtualCamera(Properties properties, QImage picture)
    : m_state(std::make_unique<State>(std::move(properties), std::move(picture)))
{
}

VirtualCamera::~VirtualCamera() = default;

bool VirtualCamera::run()
{
    if (!m_state->connect()) {
        return false;
    }
    pw_main_loop_run(m_state->loop);
    return !m_state->failed;
}

} // namespace cameras
