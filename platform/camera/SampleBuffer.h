#pragma once

#include <QImage>

#include <memory>

namespace platform {

/// One frame of a camera. Copies share it; it never changes. Any thread.
class SampleBuffer {
public:
    quint64 sequence() const; ///< counts up over the frames of one run of a session
    QSize size() const;

    /// The pixels as BGRA in memory (QImage::Format_RGB32), opaque. Converted by the first
    /// request, on its thread, so that a frame that nobody looks at costs nothing. The memory
    /// returns to a pool when the last image over it goes. Null when the frame cannot be decoded.
    QImage pixels() const;

private:
    friend class CameraStream;
    struct Frame;
    explicit SampleBuffer(std::shared_ptr<Frame> frame);

    std::shared_ptr<Frame> m_frame;
};

} // namespace platform
