#include "platform/camera/CaptureSession.h"

#include "platform/camera/CameraStream.h"
#include "platform/camera/CaptureDeviceInput.h"
#include "platform/camera/CaptureVideoDataOutput.h"
#include "platform/services/Dispatch.h"

#include <utility>

namespace platform {

CaptureSession::CaptureSession()
    : m_stream(std::make_unique<CameraStream>(CameraStream::Receivers{
        .frame = [this](const SampleBuffer& frame) { m_frames.notify(frame); },
        .interruption = [this] { reportInterruption(); } }))
{
}

CaptureSession::~CaptureSession()
{
    stopRunning();
    for (Output& each : m_outputs) {
        each.observation.end();
        each.output->waitUntilIdle();
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
    Observation observation
        = observeFrames([to = output.get()](const SampleBuffer& frame) { to->take(frame); });
    m_outputs.push_back({ std::move(output), std::move(observation) });
}

Observation CaptureSession::observeFrames(std::function<void(const SampleBuffer&)> observer)
{
    return m_frames.add(std::move(observer));
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
    for (const Output& each : m_outputs) {
        each.output->forgetFrames();
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
