#pragma once

#include "platform/camera/CaptureConnection.h"
#include "platform/camera/CaptureVideoDataOutput.h"
#include "platform/camera/FrameConsumer.h"
#include "platform/camera/FrameMailbox.h"
#include "platform/camera/SampleBuffer.h"

#include <cstddef>
#include <optional>

namespace platform {

/// The side of an output that its session gives frames to.
struct CaptureVideoDataOutput::State : FrameConsumer {
    void take(const SampleBuffer& frame) override;
    void forgetFrames() override;
    void waitUntilIdle() override;

    std::size_t capacity = 1; // of the mailbox
    std::optional<FrameMailbox<SampleBuffer>> mailbox;
    CaptureConnection connection;
};

} // namespace platform
