#include "platform/camera/CaptureSession.h"

#include "platform/camera/CameraStream.h"
#include "platform/camera/CaptureDeviceInput.h"
#include "platform/camera/CaptureVideoDataOutput.h"
#include "platform/camera/FrameConsumer.h"
#include "platform/services/Dispatch.h"

#include <utility>

namespace platform {

CaptureSession::CaptureSession()
    : m_stream(std::make_unique<CameraStream>(
        CameraStream::Receivers{ .frame = [this](const SampleBuffer& frame) { passOn(frame); },
            .interruption = [this] { reportInterruption(); } }))
{
}

CaptureSession::~CaptureSession()
{
    stopRunning();
    for (const auto& output : m_outputs) {
        removeConsumer(*output);
        output->waitUntilIdle();
    }
}

void CaptureSession::addInput(std::shared_ptr<CaptureDeviceInput> input)
{
    if (input) {
        m_input = std::move(input);
    }
}

void CaptureSession::addOutput(std::shared_ptr<CaptureVideoDataOutput> output)
{
    addConsumer(*output);
    m_outputs.push_back(std::move(output));
}

void CaptureSession::addConsumer(FrameConsumer& consumer)
{
    const std::lock_guard lock(m_mutex);
    m_consumers.push_back(&consumer);
}

void CaptureSession::removeConsumer(FrameConsumer& consumer)
{
    const std::lock_guard lock(m_mutex);
    std::erase(m_consumers, &consumer);
}

/// On the thread that delivers the frames.
void CaptureSession::passOn(const SampleBuffer& frame)
{
    const std::lock_guard lock(m_mutex);
    for (FrameConsumer* consumer : m_consumers) {
        consumer->take(frame);
    }
}

void CaptureSession::startRunning()
{
    if (!isRunning()) {
        m_stream->start(m_input ? m_input->device().uniqueID() : QString());
    }
}

void CaptureSession::stopRunning()
{
    m_stream->stop();
    for (const auto& output : m_outputs) {
        output->forgetFrames();
    }
}

bool CaptureSession::isRunning() const
{
    return m_stream->isRunning();
}

Interruption CaptureSession::interruption() const
{
    return m_stream->interruption();
}

void CaptureSession::setInterruptionObserver(std::function<void()> observer)
{
    m_interruptionObserver = std::move(observer);
}

/// Dispatched, and called as a copy: the observer may destroy the session.
void CaptureSession::reportInterruption()
{
    dispatchMain(m_alive, [this] {
        if (const auto observer = m_interruptionObserver) {
            observer();
        }
    });
}

} // namespace platform
