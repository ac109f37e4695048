#pragma once

#include "platform/camera/CameraNode.h"
#include "platform/camera/GstSample.h"

#include <QString>

#include <functional>
#include <future>
#include <memory>

namespace platform {

/// The way of one camera's frames into the program, from when it is made until it goes. Opened and
/// closed on a thread of its own, since either may take half a minute when a camera vanishes or
/// lies about its formats; whoever makes it waits for neither.
class CameraPipeline {
public:
    struct Receivers {
        /// A frame, on the thread that it came on, which must not be held up.
        std::function<void(GstSample* sample)> frame;
        /// No frame will come any more, for this reason. Any thread.
        std::function<void(const QString& reason)> failure;
    };

    /// Opening waits a moment for `former`, the end of another one of the same camera.
    CameraPipeline(const CameraNode& camera, const CameraFormat& format, Receivers receivers,
        std::shared_future<void> former = {});
    /// Afterwards no receiver runs or is called. The camera is let go of soon after.
    ~CameraPipeline();
    CameraPipeline(const CameraPipeline&) = delete;
    CameraPipeline& operator=(const CameraPipeline&) = delete;

    /// Ready when the camera has been let go of.
    std::shared_future<void> closed() const;

private:
    struct Run;
    std::shared_ptr<Run> m_run;
};

} // namespace platform
