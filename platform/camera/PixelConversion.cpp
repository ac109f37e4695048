#include "platform/camera/PixelConversion.h"

#include "platform/camera/MotionJpeg.h"
#include "platform/camera/PictureSize.h"
#include "platform/graphics/BitmapPool.h"

#include <algorithm>
#include <array>
#include <gst/gst.h>
#include <gst/video/video.h>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace platform {
namespace {

/// A buffer's bytes, mapped for reading.
class MappedBuffer {
public:
    explicit MappedBuffer(GstBuffer* buffer)
        : m_buffer(buffer)
        , m_isMapped(buffer && gst_buffer_map(buffer, &m_map, GST_MAP_READ))
    {
    }
    ~MappedBuffer()
    {
        if (m_isMapped) {
            gst_buffer_unmap(m_buffer, &m_map);
        }
    }
    MappedBuffer(const MappedBuffer&) = delete;
    MappedBuffer& operator=(const MappedBuffer&) = delete;

    std::span<const guint8> bytes() const
    {
        return m_isMapped ? std::span<const guint8>(m_map.data, m_map.size)
                          : std::span<const guint8>();
    }

private:
    GstBuffer* const m_buffer;
    GstMapInfo m_map = {};
    const bool m_isMapped;
};

QSize fitted(QSize picture, QSize area)
{
    if (area.isEmpty() || (picture.width() <= area.width() && picture.height() <= area.height())) {
        return picture;
    }
    return picture.scaled(area, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

/// The layout of the sample's bytes, from its caps and, where it has one, its buffer's metadata.
std::optional<GstVideoInfo> layoutOf(GstSample* sample)
{
    GstCaps* caps = gst_sample_get_caps(sample);
    GstVideoInfo info;
    if (!caps || !gst_video_info_from_caps(&info, caps)
        || !isPictureSize(QSize(info.width, info.height))
        || GST_VIDEO_INFO_N_PLANES(&info) > GST_VIDEO_MAX_PLANES) {
        return std::nullopt;
    }
    // Cameras send BT.601 (the UVC standard's default) at any picture size.
    if (GST_VIDEO_INFO_IS_YUV(&info)
        && !gst_structure_has_field(gst_caps_get_structure(caps, 0), "colorimetry")) {
        info.colorimetry.matrix = GST_VIDEO_COLOR_MATRIX_BT601;
    }
    info.interlace_mode = GST_VIDEO_INTERLACE_MODE_PROGRESSIVE;
    if (const GstVideoMeta* meta = gst_buffer_get_video_meta(gst_sample_get_buffer(sample))) {
        if (meta->n_planes != GST_VIDEO_INFO_N_PLANES(&info)) {
            return std::nullopt;
        }
        std::copy_n(meta->stride, meta->n_planes, info.stride);
        std::copy_n(meta->offset, meta->n_planes, info.offset);
    }
    return info;
}

/// Whether every plane lies within the received bytes: a camera's layout is not trusted.
bool fits(const GstVideoInfo& info, std::size_t byteCount)
{
    for (guint component = 0; component < GST_VIDEO_INFO_N_COMPONENTS(&info); ++component) {
        const auto plane = GST_VIDEO_INFO_COMP_PLANE(&info, component);
        const auto rows = static_cast<std::size_t>(GST_VIDEO_INFO_COMP_HEIGHT(&info, component));
        const auto rowBytes = static_cast<std::size_t>(GST_VIDEO_INFO_COMP_WIDTH(&info, component))
            * static_cast<std::size_t>(GST_VIDEO_INFO_COMP_PSTRIDE(&info, component));
        const gint stride = GST_VIDEO_INFO_PLANE_STRIDE(&info, plane);
        const gsize offset = GST_VIDEO_INFO_PLANE_OFFSET(&info, plane);
        if (stride < 0 || static_cast<std::size_t>(stride) < rowBytes || offset > byteCount
            || byteCount - offset < static_cast<std::size_t>(stride) * (rows - 1) + rowBytes) {
            return false;
        }
    }
    return true;
}

/// `bytes` are not modified when the frame is a source.
GstVideoFrame frameOver(const GstVideoInfo& info, const guint8* bytes)
{
    GstVideoFrame frame = {};
    frame.info = info;
    for (guint plane = 0; plane < GST_VIDEO_INFO_N_PLANES(&info); ++plane) {
        frame.data[plane] = const_cast<guint8*>(bytes) + GST_VIDEO_INFO_PLANE_OFFSET(&info, plane);
    }
    return frame;
}

/// Converts pictures from one layout to another. Kept, since setup costs more than a frame.
class Converter {
public:
    Converter(const GstVideoInfo& from, const GstVideoInfo& to)
        : m_from(from)
        , m_to(to)
    {
        // Scaling with two taps is good enough for a preview.
        GstStructure* options
            = gst_structure_new("options", GST_VIDEO_CONVERTER_OPT_RESAMPLER_METHOD,
                GST_TYPE_VIDEO_RESAMPLER_METHOD, GST_VIDEO_RESAMPLER_METHOD_LINEAR,
                GST_VIDEO_CONVERTER_OPT_THREADS, G_TYPE_UINT, 1U, nullptr);
        m_converter.reset(gst_video_converter_new(&m_from, &m_to, options));
    }

    bool matches(const GstVideoInfo& from, const GstVideoInfo& to) const
    {
        return gst_video_info_is_equal(&m_from, &from) && gst_video_info_is_equal(&m_to, &to);
    }

    bool convert(const guint8* from, guint8* to) const
    {
        if (!m_converter) {
            return false;
        }
        const GstVideoFrame source = frameOver(m_from, from);
        GstVideoFrame target = frameOver(m_to, to);
        gst_video_converter_frame(m_converter.get(), &source, &target);
        return true;
    }

private:
    struct Free {
        void operator()(GstVideoConverter* converter) const { gst_video_converter_free(converter); }
    };

    GstVideoInfo m_from;
    GstVideoInfo m_to;
    std::unique_ptr<GstVideoConverter, Free> m_converter;
};

/// The converters that one thread keeps from frame to frame.
class Converters {
public:
    static Converters& ofThisThread()
    {
        thread_local Converters converters;
        return converters;
    }

    QImage bitmap(const GstVideoInfo& from, const guint8* bytes)
    {
        QImage result = pooledBitmap(QSize(from.width, from.height));
        if (result.isNull()) {
            return {};
        }
        GstVideoInfo to = layout(GST_VIDEO_FORMAT_BGRx, from, result.size());
        to.stride[0] = static_cast<int>(result.bytesPerLine());
        return matching(m_toRgb, from, to).convert(bytes, result.bits()) ? result : QImage();
    }

    /// Scaled in the camera's encoding, then converted: this handles the fewest bytes, and the
    /// library is fastest at it.
    QImage scaledBitmap(const GstVideoInfo& from, const guint8* bytes, QSize size)
    {
        const GstVideoInfo to = layout(GST_VIDEO_INFO_FORMAT(&from), from, size);
        m_scaled.resize(GST_VIDEO_INFO_SIZE(&to));
        return matching(m_scaler, from, to).convert(bytes, m_scaled.data())
            ? bitmap(to, m_scaled.data())
            : QImage();
    }

private:
    static GstVideoInfo layout(GstVideoFormat format, const GstVideoInfo& of, QSize size)
    {
        GstVideoInfo info;
        gst_video_info_set_format(
            &info, format, static_cast<guint>(size.width()), static_cast<guint>(size.height()));
        if (format == GST_VIDEO_INFO_FORMAT(&of)) {
            info.colorimetry = of.colorimetry;
        }
        info.chroma_site = of.chroma_site;
        info.fps_n = of.fps_n;
        info.fps_d = of.fps_d;
        return info;
    }

    static const Converter& matching(
        std::optional<Converter>& converter, const GstVideoInfo& from, const GstVideoInfo& to)
    {
        if (!converter || !converter->matches(from, to)) {
            converter.emplace(from, to);
        }
        return *converter;
    }

    std::optional<Converter> m_scaler;
    std::optional<Converter> m_toRgb;
    std::vector<guint8> m_scaled;
};

QImage convertedBytes(const GstVideoInfo& info, const guint8* bytes, QSize size)
{
    return size == QSize(info.width, info.height)
        ? Converters::ofThisThread().bitmap(info, bytes)
        : Converters::ofThisThread().scaledBitmap(info, bytes, size);
}

/// An image over the sample's own bytes; null when they need a conversion.
QImage wrapped(GstSample* sample, const GstVideoInfo& info)
{
    struct Hold {
        explicit Hold(GstSample* held)
            : sample(gst_sample_ref(held))
            , mapped(gst_sample_get_buffer(held))
        {
        }
        GstSample* sample;
        MappedBuffer mapped;
    };
    const auto format = GST_VIDEO_INFO_FORMAT(&info);
    if ((format != GST_VIDEO_FORMAT_BGRx && format != GST_VIDEO_FORMAT_BGRA)
        || GST_VIDEO_INFO_PLANE_STRIDE(&info, 0) % 4 != 0
        || GST_VIDEO_INFO_PLANE_OFFSET(&info, 0) % 4 != 0) {
        return {};
    }
    auto hold = std::make_unique<Hold>(sample);
    const guint8* bytes = hold->mapped.bytes().data() + GST_VIDEO_INFO_PLANE_OFFSET(&info, 0);
    return QImage(
        bytes, info.width, info.height, GST_VIDEO_INFO_PLANE_STRIDE(&info, 0), QImage::Format_RGB32,
        [](void* data) {
            auto* held = static_cast<Hold*>(data);
            GstSample* last = held->sample;
            delete held;
            gst_sample_unref(last);
        },
        hold.release());
}

} // namespace

bool hasPicture(GstSample* sample)
{
    GstBuffer* buffer = gst_sample_get_buffer(sample);
    if (!buffer) {
        return false;
    }
    if (isCompressed(sample)) {
        constexpr std::array<guint8, 2> startOfImage{ 0xff, 0xd8 };
        return gst_buffer_memcmp(buffer, 0, startOfImage.data(), startOfImage.size()) == 0;
    }
    const std::optional<GstVideoInfo> info = layoutOf(sample);
    return info && fits(*info, gst_buffer_get_size(buffer));
}

bool isCompressed(GstSample* sample)
{
    const GstCaps* caps = gst_sample_get_caps(sample);
    return caps && gst_structure_has_name(gst_caps_get_structure(caps, 0), "image/jpeg");
}

QImage convertedPixels(GstSample* sample, QSize area)
{
    const MappedBuffer mapped(gst_sample_get_buffer(sample));
    if (isCompressed(sample)) {
        return decodedMotionJpeg(mapped.bytes());
    }
    const std::optional<GstVideoInfo> info = layoutOf(sample);
    if (!info || !fits(*info, mapped.bytes().size())) {
        return {};
    }
    const QSize picture(info->width, info->height);
    const QSize size = fitted(picture, area);
    if (size == picture) {
        if (QImage image = wrapped(sample, *info); !image.isNull()) {
            return image;
        }
    }
    return convertedBytes(*info, mapped.bytes().data(), size);
}

QImage scaledPixels(const QImage& picture, QSize area)
{
    const QSize size = fitted(picture.size(), area);
    if (picture.isNull() || size == picture.size()) {
        return picture;
    }
    GstVideoInfo info;
    gst_video_info_set_format(&info, GST_VIDEO_FORMAT_BGRx, static_cast<guint>(picture.width()),
        static_cast<guint>(picture.height()));
    info.stride[0] = static_cast<int>(picture.bytesPerLine());
    return convertedBytes(info, picture.constBits(), size);
}

} // namespace platform
