#pragma once

#include "platform/camera/Interruption.h"
#include "platform/camera/SampleBuffer.h"

#include <QString>

#include <functional>
#include <future>
#include <memory>

namespace platform {

struct CameraNode;

/// Delivers the frames of one camera: opens it, detects interruptions, and opens it again when it
/// returns. Main thread; no call waits for a camera.
class CameraStream {
public:
    struct Receivers {
        /// Called with each frame, on the thread that delivers them, which it must not block.
        std::function<void(const SampleBuffer& frame)> frame;
        /// Called when interruption() has changed.
        std::function<void()> interruption;
    };

    explicit CameraStream(Receivers receivers);
    ~CameraStream();
    CameraStream(const CameraStream&) = delete;
    CameraStream& operator=(const CameraStream&) = delete;

    void start(const QString& camera); ///< by name; empty when there is none
    /// Afterwards no frame is received. The camera is closed soon after.
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
    void reportRefusal(const QString& reason);
    void setInterruption(Interruption interruption);

    const Receivers m_receivers;
    std::shared_ptr<Run> m_run; // null when stopped; guards dispatched jobs
    std::shared_future<void> m_formerClosed; // of the previous pipeline
    Interruption m_interruption = Interruption::None;
};

} // namespace platform
