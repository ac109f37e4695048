#include "camera/FramePipeline.h"

#include "camera/CodeOnOffer.h"
#include "camera/Detection.h"
#include "camera/FramePreparation.h"
#include "platform/barcode/LiveScan.h"
#include "platform/camera/CaptureConnection.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace vellumcap {

namespace {

/// Increments the counter now and decrements it when the last copy of the result is destroyed.
std::shared_ptr<const void> counted(const std::shared_ptr<std::atomic<int>>& counter)
{
    ++*counter;
    return { counter.get(), [counter](const void*) { --*counter; } };
}

int examinationsAtOnce()
{
    static const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    return cores;
}

} // namespace

FramePipeline::FramePipeline(Setup setup)
    : m_setup(std::move(setup))
    , m_liveScan(std::make_shared<platform::LiveScan>())
    , m_examinations(std::make_shared<std::atomic<int>>(0))
{
}

void FramePipeline::setPreparation(QList<std::shared_ptr<platform::ImageFilter>> filters,
    std::shared_ptr<const platform::CaptureConnection> previewConnection)
{
    m_filters = std::move(filters);
    m_previewConnection = std::move(previewConnection);
}

void FramePipeline::didOutputSampleBuffer(const platform::SampleBuffer& sampleBuffer)
{
    examineFrame([&sampleBuffer] { return imageFromSampleBuffer(sampleBuffer); });
}

bool FramePipeline::isIgnored() const
{
    return (m_setup.whileOffering == WhileOffering::Ignored && m_setup.offer->captureState() != 0)
        || *m_examinations >= examinationsAtOnce();
}

void FramePipeline::examineFrame(const std::function<QImage()>& bitmap)
{
    if (isIgnored()) {
        return;
    }
    const std::lock_guard lock(m_lock);
    const bool mirrored = m_previewConnection && isVideoMirrored();
    QImage prepared = preparedImage(bitmap(), m_filters, mirrored);
    if (prepared.isNull()) {
        return;
    }
    using platform::ImageOrientation;
    const auto orientation = mirrored ? ImageOrientation::Mirrored : ImageOrientation::Upright;
    examine(std::move(prepared), { orientation, m_liveScan }, m_setup.offer,
        [accepted = m_setup.accepted, running = counted(m_examinations)](
            const AcceptedCode& code) { accepted(code); });
}

} // namespace vellumcap
