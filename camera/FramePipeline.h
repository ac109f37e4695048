#pragma once

#include "platform/camera/SampleBufferDelegate.h"

#include <QImage>
#include <QList>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

namespace platform {
class CaptureConnection;
class ImageFilter;
class LiveScan;
} // namespace platform

namespace vellumcap {

struct AcceptedCode;
class CodeOnOffer;

/// The way of a camera's frames to their codes: each frame is prepared on the queue it arrives on
/// and examined on the global queue, several at a time. A frame is late, and dropped, while as
/// many are being examined as the machine has cores. The window sets it up and holds it; jobs may
/// hold parts of it for longer.
class FramePipeline final : public platform::SampleBufferDelegate {
public:
    /// What becomes of frames while a code is on offer.
    enum class WhileOffering { Ignored, Examined };

    struct Setup {
        std::shared_ptr<CodeOnOffer> offer;
        WhileOffering whileOffering = WhileOffering::Ignored;
        /// A code other than the one offered last has been found. Called on the global queue.
        std::function<void(const AcceptedCode&)> accepted;
    };

    explicit FramePipeline(Setup setup);

    /// How frames are prepared: through these filters, and mirrored only when there is a connection
    /// (of the preview). Set before frames come.
    void setPreparation(QList<std::shared_ptr<platform::ImageFilter>> filters,
        std::shared_ptr<const platform::CaptureConnection> previewConnection);

    void didOutputSampleBuffer(const platform::SampleBuffer& sampleBuffer) override;

    /// The next frame. `bitmap` is asked for only when the frame is examined.
    void examineFrame(const std::function<QImage()>& bitmap);

private:
    bool isIgnored() const;

    const Setup m_setup;
    QList<std::shared_ptr<platform::ImageFilter>> m_filters;
    std::shared_ptr<const platform::CaptureConnection> m_previewConnection;
    const std::shared_ptr<platform::LiveScan> m_liveScan;
    std::recursive_mutex m_lock; // held around preparation and submission
    const std::shared_ptr<std::atomic<int>> m_examinations; // that are running
};

} // namespace vellumcap
