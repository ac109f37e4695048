#pragma once

#include "platform/camera/Interruption.h"
#include "platform/services/Observers.h"

#include <functional>
#include <memory>
#include <vector>

namespace platform {

class CameraStream;
class CaptureDeviceInput;
class CaptureVideoDataOutput;
class SampleBuffer;

/// Takes frames from one camera and passes them to its output and its preview. Starting and
/// stopping do not block, even when the camera does not respond. Main thread.
class CaptureSession {
public:
    CaptureSession();
    /// Stops, and returns when no frame callback runs any more. Not from a frame callback.
    ~CaptureSession();
    CaptureSession(const CaptureSession&) = delete;
    CaptureSession& operator=(const CaptureSession&) = delete;

    void addInput(std::shared_ptr<CaptureDeviceInput> input); ///< null is ignored
    bool hasInput() const { return m_input != nullptr; }
    void addOutput(std::shared_ptr<CaptureVideoDataOutput> output);

    /// Calls `observer` with each frame, on the thread that delivers them, which it must not block.
    [[nodiscard]] Observation observeFrames(
        std::function<void(const SampleBuffer& frame)> observer);

    void startRunning();
    /// Afterwards no new frame is passed on; the delegate may still be handling one. The camera is
    /// closed (its node has no link any more) soon after.
    void stopRunning();
    bool isRunning() const; ///< between startRunning() and stopRunning(), whatever the camera does

    Interruption interruption() const;
    /// Called on the main thread whenever interruption() has changed.
    void setInterruptionObserver(std::function<void()> observer);

private:
    struct Output {
        std::shared_ptr<CaptureVideoDataOutput> output;
        Observation observation;
    };

    void reportInterruption();

    std::shared_ptr<CaptureDeviceInput> m_input;
    std::vector<Output> m_outputs;
    std::function<void()> m_interruptionObserver;
    Observers<const SampleBuffer&> m_frames;
    const std::shared_ptr<int> m_alive = std::make_shared<int>(); // guards dispatched jobs
    const std::unique_ptr<CameraStream> m_stream; // destroyed first
};

} // namespace platform
