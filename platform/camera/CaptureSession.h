#pragma once

#include "platform/camera/Interruption.h"

#include <functional>
#include <memory>

namespace platform {

class CaptureDeviceInput;
class CaptureVideoDataOutput;
class CaptureVideoPreviewLayer;

/// Takes frames from one camera and hands them to its output and its preview. Starting and
/// stopping return at once; a camera that does not answer holds nobody up. Main thread.
class CaptureSession {
public:
    CaptureSession();
    /// Stops; waits until no frame callback runs any more. Not from a frame callback.
    ~CaptureSession();
    CaptureSession(const CaptureSession&) = delete;
    CaptureSession& operator=(const CaptureSession&) = delete;

    void addInput(std::shared_ptr<CaptureDeviceInput> input); ///< null is ignored
    void addOutput(std::shared_ptr<CaptureVideoDataOutput> output);

    void startRunning();
    /// After it, no frame is handed out that arrived later; one may still be being handled. The
    /// camera is let go of (its node has no link any more) soon after.
    void stopRunning();
    bool isRunning() const; ///< between startRunning() and stopRunning(), whatever the camera does

    Interruption interruption() const;
    /// Called on the main thread whenever interruption() has changed.
    void setInterruptionObserver(std::function<void()> observer);

private:
    friend class CaptureVideoPreviewLayer;
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace platform
