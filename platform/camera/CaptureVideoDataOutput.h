#pragma once

#include "platform/camera/FrameMailbox.h"
#include "platform/camera/SampleBuffer.h"

#include <memory>
#include <optional>

namespace platform {

class SampleBufferDelegate;
class SerialQueue;

/// Hands the frames of a session to a delegate. Of the frames that arrive while the delegate is
/// busy only the newest is kept, and handed over next. Main thread, except take().
class CaptureVideoDataOutput {
public:
    /// Hands frames to `delegate` on `queue` while the delegate exists. Not while the session runs.
    void setSampleBufferDelegate(
        std::weak_ptr<SampleBufferDelegate> delegate, std::shared_ptr<SerialQueue> queue);

    /// A frame for the delegate. Any thread.
    void take(const SampleBuffer& frame);
    /// Drops a frame that waits for the delegate.
    void forgetFrames();
    /// Returns when the delegate handles no frame.
    void waitUntilIdle();

private:
    std::optional<FrameMailbox<SampleBuffer>> m_mailbox; // empty without a delegate
};

} // namespace platform
