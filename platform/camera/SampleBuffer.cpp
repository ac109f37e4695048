#include "platform/camera/SampleBuffer.h"

#include "platform/camera/PixelConversion.h"

#include <gst/gst.h>
#include <mutex>

namespace platform {

struct SampleBuffer::Frame {
    Frame(GstSample* aSample, quint64 aSequence)
        : sample(gst_sample_ref(aSample))
        , sequence(aSequence)
    {
    }
    ~Frame() { gst_sample_unref(sample); }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    GstSample* const sample;
    const quint64 sequence;
    mutable std::once_flag converted;
    mutable QImage pixels;
};

SampleBuffer::SampleBuffer(GstSample* sample, quint64 sequence)
    : m_frame(std::make_shared<const Frame>(sample, sequence))
{
}

quint64 SampleBuffer::sequence() const
{
    return m_frame->sequence;
}

QImage SampleBuffer::pixels() const
{
    std::call_once(
        m_frame->converted, [this] { m_frame->pixels = convertedPixels(m_frame->sample); });
    return m_frame->pixels;
}

QImage SampleBuffer::pixelsWithin(QSize area) const
{
    // Decoding is most of the work, and pixels() shares its result.
    return isCompressed(m_frame->sample) ? scaledPixels(pixels(), area)
                                         : convertedPixels(m_frame->sample, area);
}

} // namespace platform
