#pragma once

namespace platform {

class SampleBuffer;

/// What takes the frames of a session: its output, its preview.
class FrameConsumer {
public:
    virtual ~FrameConsumer() = default;

    /// Called on the thread that the frames come on, which it must not hold up.
    virtual void take(const SampleBuffer& frame) = 0;
    /// Drops what it has taken and not yet handled. Main thread.
    virtual void forgetFrames() = 0;
    /// Returns when no frame is being handled any more. Main thread.
    virtual void waitUntilIdle() = 0;
};

} // namespace platform
