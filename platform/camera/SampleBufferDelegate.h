#pragma once

namespace platform {

class SampleBuffer;

/// Receives frames, one at a time, on the queue that it was set with.
class SampleBufferDelegate {
public:
    virtual ~SampleBufferDelegate() = default;
    virtual void didOutputSampleBuffer(const SampleBuffer& sampleBuffer) = 0;
};

} // namespace platform
