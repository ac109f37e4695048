#pragma once

#include "platform/camera/GstSample.h"

#include <QImage>

#include <memory>

namespace platform {

/// One frame of a camera. Copies share it; it never changes. Thread-safe.
class SampleBuffer {
public:
    /// Holds a reference to `sample`.
    SampleBuffer(GstSample* sample, quint64 sequence);

    quint64 sequence() const; ///< the number of the frame in a run of its session, from 1

    /// The pixels as BGRA in memory (QImage::Format_RGB32; the fourth byte has no meaning).
    /// The first call converts them, on its thread, so that an unused frame costs nothing. The
    /// memory returns to a pool with the last image that uses it. Null when the frame cannot be
    /// decoded.
    QImage pixels() const;

    /// The pixels scaled down to fit into `area`. Each call converts them, which for uncompressed
    /// frames is cheaper than pixels(). Null when the frame cannot be decoded.
    QImage pixelsWithin(QSize area) const;

private:
    struct Frame;
    std::shared_ptr<const Frame> m_frame;
};

} // namespace platform
