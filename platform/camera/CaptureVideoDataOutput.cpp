#include "platform/camera/CaptureVideoDataOutput.h"

#include "platform/camera/CaptureVideoDataOutputState.h"

#include <cstddef>
#include <utility>

namespace platform {
namespace {

/// At the size of 1080p about 60 MB.
constexpr std::size_t longestQueue = 8;

} // namespace

void CaptureVideoDataOutput::State::take(const SampleBuffer& frame)
{
    if (mailbox) {
        mailbox->put(frame);
    }
}

void CaptureVideoDataOutput::State::forgetFrames()
{
    if (mailbox) {
        mailbox->clear();
    }
}

void CaptureVideoDataOutput::State::waitUntilIdle()
{
    if (mailbox) {
        mailbox->waitUntilIdle();
    }
}

CaptureVideoDataOutput::CaptureVideoDataOutput()
    : m_state(std::make_shared<State>())
{
}

CaptureVideoDataOutput::~CaptureVideoDataOutput() = default;

void CaptureVideoDataOutput::setAlwaysDiscardsLateVideoFrames(bool discards)
{
    m_state->capacity = discards ? 1 : longestQueue;
    if (m_state->mailbox) {
        m_state->mailbox->setCapacity(m_state->capacity);
    }
}

void CaptureVideoDataOutput::setVideoSettings(PixelFormat) { }

void CaptureVideoDataOutput::setSampleBufferDelegate(
    std::weak_ptr<SampleBufferDelegate> delegate, std::shared_ptr<SerialQueue> queue)
{
    m_state->mailbox.reset();
    if (!queue) {
        return;
    }
    const auto handOver = [this, delegate = std::move(delegate)](const SampleBuffer& frame) {
        if (auto receiver = delegate.lock()) {
            receiver->didOutputSampleBuffer(*this, frame, m_state->connection);
            // The last one to hold it may be this thread, which is not where windows end.
            dispatchMain([receiver = std::move(receiver)] {});
        }
    };
    m_state->mailbox.emplace(std::move(queue), m_state->capacity, handOver);
}

} // namespace platform
