#pragma once

#include "platform/camera/GstSample.h"

#include <QImage>

#include <memory>

namespace platform {

/// One frame of a camera. Copies share it; it never changes. Any thread.
class SampleBuffer {
public:
    /// Takes a reference of its own to `sample`.
    SampleBuffer(GstSample* sample, quint64 sequence);

    quint64 sequence() const; ///< counts up over the frames of one run of a session
    QSize size() const; ///< as the camera announced it; empty when it did not

    /// The pixels as BGRA in memory (QImage::Format_RGB32; the fourth byte has no meaning).
    /// Converted by the first request, on its thread, so that a frame that nobody looks at costs
    /// nothing. The memory returns to a pool when the last image over it goes. Null when the frame
    /// cannot be decoded.
    QImage pixels() const;

    /// The pixels scaled to fit into `area`, never enlarged; converted by each call, for less than
    /// all pixels cost where they are not compressed. Null when the frame cannot be decoded.
    QImage pixelsWithin(QSize area) const;

private:
    struct Frame;
    std::shared_ptr<const Frame> m_frame;
};

} // namespace platform
