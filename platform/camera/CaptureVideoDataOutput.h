#pragma once

#include "platform/services/Dispatch.h"

#include <QtGlobal>

#include <memory>

namespace platform {

class CaptureConnection;
class CaptureVideoDataOutput;
class SampleBuffer;

/// Receives frames, one at a time, on the queue that was given with it.
class SampleBufferDelegate {
public:
    virtual ~SampleBufferDelegate() = default;
    virtual void didOutputSampleBuffer(const CaptureVideoDataOutput& output,
        const SampleBuffer& sampleBuffer, const CaptureConnection& connection)
        = 0;
};

/// Where a session's frames leave it. Set up on the main thread before the session starts.
class CaptureVideoDataOutput {
public:
    enum class PixelFormat : quint32 { BGRA = 0x42475241 };

    CaptureVideoDataOutput();
    ~CaptureVideoDataOutput();

    /// True: of frames that arrive while the delegate is busy only the newest is kept, and handed
    /// over next. False: they queue up, to a bound.
    void setAlwaysDiscardsLateVideoFrames(bool discards);
    void setVideoSettings(PixelFormat format); ///< BGRA is the only one
    /// Frames reach `delegate` on `queue` as long as it lives.
    void setSampleBufferDelegate(
        std::weak_ptr<SampleBufferDelegate> delegate, std::shared_ptr<SerialQueue> queue);

private:
    friend class CaptureSession;
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace platform
