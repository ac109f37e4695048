#pragma once

#include "platform/camera/GstSample.h"

#include <QByteArray>
#include <QSize>

#include <functional>
#include <gst/gst.h>
#include <gst/video/video.h>
#include <memory>

/// Frames as GStreamer delivers those of a camera. Programs that include this link GStreamer.
namespace support {

struct UnrefSample {
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
};
using Sample = std::unique_ptr<GstSample, UnrefSample>;

/// The caps of an uncompressed frame at 30 frames per second; `encoding` is GStreamer's name.
inline QByteArray rawCaps(const QByteArray& encoding, QSize size)
{
    return "video/x-raw,format=" + encoding + ",width=" + QByteArray::number(size.width())
        + ",height=" + QByteArray::number(size.height()) + ",framerate=30/1";
}

inline QByteArray jpegCaps(QSize size)
{
    return "image/jpeg,width=" + QByteArray::number(size.width())
        + ",height=" + QByteArray::number(size.height()) + ",framerate=30/1";
}

/// How GStreamer lays out an uncompressed frame.
inline GstVideoInfo rawLayout(const QByteArray& encoding, QSize size)
{
    GstVideoInfo info;
    gst_video_info_set_format(&info, gst_video_format_from_string(encoding.constData()),
        static_cast<guint>(size.width()), static_cast<guint>(size.height()));
    return info;
}

/// A frame with a copy of `bytes`; no caps when `caps` is empty. `change` may modify the buffer
/// before it becomes part of the frame.
inline Sample sampleOf(const QByteArray& bytes, const QByteArray& caps,
    const std::function<void(GstBuffer*)>& change = {})
{
    GstBuffer* buffer = bytes.isEmpty()
        ? gst_buffer_new()
        : gst_buffer_new_memdup(bytes.constData(), static_cast<gsize>(bytes.size()));
    if (change) {
        change(buffer);
    }
    GstCaps* parsed = caps.isEmpty() ? nullptr : gst_caps_from_string(caps.constData());
    Sample sample(gst_sample_new(buffer, parsed, nullptr, nullptr));
    gst_buffer_unref(buffer);
    if (parsed != nullptr) {
        gst_caps_unref(parsed);
    }
    return sample;
}

} // namespace support
