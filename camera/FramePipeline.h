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

/// Searches the frames of a camera for codes: prepares each frame on the queue on which it arrives
/// and examines it on the global queue. While as many examinations run as the machine has cores,
/// new frames are dropped. Owned by the window; running examinations share parts of it.
class FramePipeline final : public platform::SampleBufferDelegate {
public:
    /// What happens to frames while a code is on offer.
    enum class WhileOffering { Ignored, Examined };

    struct Setup {
        std::shared_ptr<CodeOnOffer> offer;
        WhileOffering whileOffering = WhileOffering::Ignored;
        /// Called on the global queue for a code that differs from the one offered last.
        std::function<void(const AcceptedCode&)> accepted;
    };

    explicit FramePipeline(Setup setup);

    /// Sets the filters for frames, and the preview's connection: frames are mirrored as the
    /// preference says, and never for a null connection. Call it before the first frame.
    void setPreparation(QList<std::shared_ptr<platform::ImageFilter>> filters,
        std::shared_ptr<const platform::CaptureConnection> previewConnection);

    void didOutputSampleBuffer(const platform::SampleBuffer& sampleBuffer) override;

    /// Handles the next frame. Calls `bitmap` only if the frame is examined.
    void examineFrame(const std::function<QImage()>& bitmap);

private:
    bool isIgnored() const;

    const Setup m_setup;
    QList<std::shared_ptr<platform::ImageFilter>> m_filters;
    std::shared_ptr<const platform::CaptureConnection> m_previewConnection;
    const std::shared_ptr<platform::LiveScan> m_liveScan;
    std::recursive_mutex m_lock; // held during preparation and submission
    const std::shared_ptr<std::atomic<int>> m_examinations; // number of running ones
};

} // namespace vellumcap
