#include "platform/camera/CaptureSession.h"

#include "platform/camera/CaptureDeviceInput.h"
#include "platform/camera/CaptureSessionState.h"
#include "platform/camera/CaptureVideoDataOutputState.h"
#include "platform/services/Dispatch.h"

#include <algorithm>
#include <utility>

namespace platform {

CaptureSession::State::State()
    : stream({ .frame = [this](const SampleBuffer& frame) { hand(frame); },
        .interruption = [this] { tellOfInterruption(); } })
{
}

CaptureSession::State::~State()
{
    stop();
    for (const auto& output : outputs) {
        remove(*output->m_state);
        output->m_state->waitUntilIdle();
    }
}

void CaptureSession::State::add(FrameConsumer& consumer)
{
    const std::lock_guard lock(m_mutex);
    m_consumers.push_back(&consumer);
}

void CaptureSession::State::remove(FrameConsumer& consumer)
{
    const std::lock_guard lock(m_mutex);
    std::erase(m_consumers, &consumer);
}

void CaptureSession::State::hand(const SampleBuffer& frame)
{
    const std::lock_guard lock(m_mutex);
    for (FrameConsumer* consumer : m_consumers) {
        consumer->take(frame);
    }
}

void CaptureSession::State::start()
{
    if (!stream.isRunning()) {
        stream.start(input ? input->device().uniqueID() : QString());
    }
}

void CaptureSession::State::stop()
{
    stream.stop();
    const std::lock_guard lock(m_mutex);
    for (FrameConsumer* consumer : m_consumers) {
        consumer->forgetFrames();
    }
}

void CaptureSession::State::tellOfInterruption()
{
    // In a turn of its own: the observer may let go of the session.
    dispatchMain(m_alive, [this] {
        if (const auto observer = interruptionObserver) {
            observer();
        }
    });
}

CaptureSession::CaptureSession()
    : m_state(std::make_shared<State>())
{
}

CaptureSession::~CaptureSession() = default;

void CaptureSession::addInput(std::shared_ptr<CaptureDeviceInput> input)
{
    if (input) {
        m_state->input = std::move(input);
    }
}

void CaptureSession::addOutput(std::shared_ptr<CaptureVideoDataOutput> output)
{
    if (output) {
        m_state->add(*output->m_state);
        m_state->outputs.push_back(std::move(output));
    }
}

void CaptureSession::startRunning()
{
    m_state->start();
}

void CaptureSession::stopRunning()
{
    m_state->stop();
}

bool CaptureSession::isRunning() const
{
    return m_state->stream.isRunning();
}

Interruption CaptureSession::interruption() const
{
    return m_state->stream.interruption();
}

void CaptureSession::setInterruptionObserver(std::function<void()> observer)
{
    m_state->interruptionObserver = std::move(observer);
}

} // namespace platform
