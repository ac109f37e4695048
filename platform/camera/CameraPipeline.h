#pragma once

#include "platform/camera/CameraNode.h"
#include "platform/camera/GstSample.h"

#include <QString>

#include <functional>
#include <future>
#include <memory>

namespace platform {

/// Receives the frames of one camera during its lifetime. The camera is opened and closed on a
/// thread of its own, since either may take half a minute when a camera is unplugged or reports
/// wrong formats; neither the constructor nor the destructor waits for it.
class CameraPipeline {
public:
    struct Receivers {
        /// Called with each frame, on the thread that delivers them, which it must not block.
        std::function<void(GstSample* sample)> frame;
        /// Called when no further frame will arrive, on any thread.
        std::function<void(const QString& reason)> failure;
    };

    /// The camera is opened when `former`, the closing of another pipeline of the same camera, is
    /// ready, or after a timeout.
    CameraPipeline(const CameraNode& camera, const CameraFormat& format, Receivers receivers,
        std::shared_future<void> former = {});
    /// Afterwards no receiver runs or is called. The camera is closed soon after.
    ~CameraPipeline();
    CameraPipeline(const CameraPipeline&) = delete;
    CameraPipeline& operator=(const CameraPipeline&) = delete;

    /// Ready when the camera has been closed.
    std::shared_future<void> closed() const;

private:
    struct Run;
    std::shared_ptr<Run> m_run;
};

} // namespace platform
