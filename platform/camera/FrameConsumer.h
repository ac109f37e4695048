#pragma once

namespace platform {

class SampleBuffer;

/// Receives the frames of a session.
class FrameConsumer {
public:
    virtual ~FrameConsumer() = default;

    /// Called on the thread that delivers the frames, which it must not block.
    virtual void take(const SampleBuffer& frame) = 0;
};

} // namespace platform
