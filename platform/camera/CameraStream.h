#pragma once

#include "platform/camera/Interruption.h"
#include "platform/camera/SampleBuffer.h"

#include <QString>

#include <functional>
#include <future>
#include <memory>

namespace platform {

struct CameraNode;

/// Keeps the frames of one camera coming: opens it, watches over it, and takes it up again when it
/// comes back. Main thread; nothing here waits for a camera.
class CameraStream {
public:
    struct Receivers {
        /// A frame, on the thread that it came on, which must not be held up.
        std::function<void(const SampleBuffer& frame)> frame;
        /// interruption() has changed.
        std::function<void()> interruption;
    };

    explicit CameraStream(Receivers receivers);
    /// Stops.
    ~CameraStream();
    CameraStream(const CameraStream&) = delete;
    CameraStream& operator=(const CameraStream&) = delete;

    void start(const QString& camera); ///< by name; empty when there is none
    /// Afterwards no frame is received. The camera is let go of soon after.
    void stop();
    bool isRunning() const { return m_run != nullptr; }

    Interruption interruption() const { return m_interruption; }

private:
    struct Run;

    void check();
    void checkRegularly();
    void checkStall(const CameraNode& camera);
    void open();
    void close();
    void refuse(const QString& reason);
    void tellOfRefusal(const QString& reason);
    void setInterruption(Interruption interruption);

    const Receivers m_receivers;
    std::shared_ptr<Run> m_run; // null when stopped; guards what is sent to the main thread
    std::shared_future<void> m_formerEnd; // of the pipeline before
    Interruption m_interruption = Interruption::None;
};

} // namespace platform
