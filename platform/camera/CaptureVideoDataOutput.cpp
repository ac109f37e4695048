#include "platform/camera/CaptureVideoDataOutput.h"

#include "platform/camera/SampleBufferDelegate.h"
#include "platform/services/Dispatch.h"

#include <utility>

namespace platform {

void CaptureVideoDataOutput::setSampleBufferDelegate(
    std::weak_ptr<SampleBufferDelegate> delegate, std::shared_ptr<SerialQueue> queue)
{
    const auto handOver = [delegate = std::move(delegate)](const SampleBuffer& frame) {
        if (auto receiver = delegate.lock()) {
            receiver->didOutputSampleBuffer(frame);
            // This may be the last reference, and windows must be destroyed on the main thread.
            dispatchMain([receiver = std::move(receiver)] {});
        }
    };
    m_mailbox.emplace(std::move(queue), handOver);
}

void CaptureVideoDataOutput::take(const SampleBuffer& frame)
{
    if (m_mailbox) {
        m_mailbox->put(frame);
    }
}

void CaptureVideoDataOutput::forgetFrames()
{
    if (m_mailbox) {
        m_mailbox->clear();
    }
}

void CaptureVideoDataOutput::waitUntilIdle()
{
    if (m_mailbox) {
        m_mailbox->waitUntilIdle();
    }
}

} // namespace platform
