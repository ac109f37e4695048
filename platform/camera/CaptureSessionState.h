#pragma once

#include "platform/camera/CameraStream.h"
#include "platform/camera/CaptureSession.h"
#include "platform/camera/FrameConsumer.h"

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace platform {

/// What a session shares with its output and its preview. Main thread, but for hand().
struct CaptureSession::State {
    State();
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    /// Frames go to it until it is removed, which waits for the one that is being taken.
    void add(FrameConsumer& consumer);
    void remove(FrameConsumer& consumer);

    /// Gives `frame` to all consumers; on the thread of the frames.
    void hand(const SampleBuffer& frame);
    void start();
    void stop();
    void tellOfInterruption();

    std::shared_ptr<CaptureDeviceInput> input;
    std::vector<std::shared_ptr<CaptureVideoDataOutput>> outputs;
    std::function<void()> interruptionObserver;

private:
    std::mutex m_mutex; // held while consumers take a frame
    std::vector<FrameConsumer*> m_consumers;
    const std::shared_ptr<int> m_alive = std::make_shared<int>(); // guards what is dispatched

public:
    CameraStream stream; // the last member: the first to go
};

} // namespace platform
