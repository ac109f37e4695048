#include "platform/camera/CameraStream.h"

#include "platform/camera/CameraPipeline.h"
#include "platform/camera/CameraRegistry.h"
#include "platform/camera/FormatChoice.h"
#include "platform/camera/PixelConversion.h"
#include "platform/services/Dispatch.h"
#include "platform/services/Log.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto stallTimeout = 2s; // without a frame the camera counts as stalled
constexpr auto reopenTimeout = 10s; // without a frame the camera is opened again
constexpr auto firstRetry = 250ms; // a camera that changes its formats fails once
constexpr auto laterRetry = 2s;
constexpr auto checkInterval = 500ms;

bool offers(const CameraNode& camera, const CameraFormat& format)
{
    return std::any_of(
        camera.formats.cbegin(), camera.formats.cend(), [&format](const CameraFormat& offered) {
            return offered.encoding == format.encoding && offered.size == format.size;
        });
}

} // namespace

/// One run, from start() to stop(). The thread that delivers the frames shares the atomic members.
struct CameraStream::Run {
    QString camera;
    Observation observation;
    std::unique_ptr<CameraPipeline> pipeline; // null between attempts
    CameraFormat format; // negotiated for the pipeline
    Clock::time_point openedAt;
    Clock::time_point retryAt; // when there is no pipeline
    int attempt = 0; // failures of earlier attempts are ignored
    int failures = 0; // since the last frame
    bool isLogged = false;

    quint64 frameCount = 0; // on the thread that delivers the frames
    std::atomic<Clock::time_point> lastFrameAt = Clock::time_point();
    std::atomic<bool> isFrameAwaited = false; // the next frame starts a check
};

CameraStream::CameraStream(Receivers receivers)
    : m_receivers(std::move(receivers))
{
}

CameraStream::~CameraStream()
{
    close();
}

void CameraStream::start(const QString& camera)
{
    stop();
    m_run = std::make_shared<Run>();
    m_run->camera = camera;
    if (camera.isEmpty()) {
        setInterruption(Interruption::NoCamera);
        return;
    }
    m_run->observation = CameraRegistry::shared().observe(
        [this, guard = std::weak_ptr(m_run)] { dispatchMain(guard, [this] { check(); }); });
    check();
    checkRegularly();
}

void CameraStream::stop()
{
    close();
    m_run.reset();
    setInterruption(Interruption::None);
}

void CameraStream::checkRegularly()
{
    dispatchMainAfter(checkInterval, m_run, [this] {
        check();
        checkRegularly();
    });
}

void CameraStream::check()
{
    const std::optional<CameraNode> camera = CameraRegistry::shared().camera(m_run->camera);
    if (!camera) {
        close();
        m_run->retryAt = {};
        m_run->failures = 0;
        setInterruption(Interruption::Unplugged);
        return;
    }
    // The source does not report a change of formats: its frames stop.
    const bool hasChanged = m_run->pipeline && !offers(*camera, m_run->format);
    const bool isDue = !m_run->pipeline && Clock::now() >= m_run->retryAt;
    if (hasChanged || isDue) {
        open();
    } else if (m_run->pipeline) {
        checkStall(*camera);
    }
}

void CameraStream::checkStall(const CameraNode& camera)
{
    const Clock::time_point lastFrameAt = m_run->lastFrameAt;
    const bool hasFrame = lastFrameAt >= m_run->openedAt;
    const auto silence = Clock::now() - (hasFrame ? lastFrameAt : m_run->openedAt);
    if (hasFrame && silence < stallTimeout) {
        m_run->failures = 0;
        setInterruption(Interruption::None);
        return;
    }
    if (silence >= stallTimeout) {
        if (hasFrame || camera.isRunning) {
            setInterruption(Interruption::Stalled);
        } else {
            reportRefusal(u"It does not start"_s);
        }
        m_run->isFrameAwaited = true;
    }
    if (silence >= reopenTimeout) {
        open();
    }
}

void CameraStream::open()
{
    close();
    const std::optional<CameraNode> camera = CameraRegistry::shared().camera(m_run->camera);
    const std::optional<CameraFormat> format
        = camera ? chosenFormat(camera->formats) : std::nullopt;
    if (!format) {
        refuse(u"It offers no format that can be read"_s);
        return;
    }
    m_run->format = *format;
    m_run->openedAt = Clock::now();
    m_run->isFrameAwaited = true;
    const std::weak_ptr<Run> guard = m_run;
    const auto takeFrame = [this, guard, run = m_run.get()](GstSample* sample) {
        if (!hasPicture(sample)) { // such as after an unreported change of format
            return;
        }
        run->lastFrameAt = Clock::now();
        m_receivers.frame(SampleBuffer(sample, ++run->frameCount));
        if (run->isFrameAwaited.exchange(false)) {
            dispatchMain(guard, [this] { check(); });
        }
    };
    const auto takeFailure = [this, guard, attempt = ++m_run->attempt](const QString& reason) {
        dispatchMain(guard, [this, attempt, reason] {
            if (attempt == m_run->attempt) {
                refuse(reason);
            }
        });
    };
    m_run->pipeline = std::make_unique<CameraPipeline>(*camera, *format,
        CameraPipeline::Receivers{ .frame = takeFrame, .failure = takeFailure }, m_formerClosed);
}

void CameraStream::close()
{
    if (m_run && m_run->pipeline) {
        m_formerClosed = m_run->pipeline->closed();
        m_run->pipeline.reset();
    }
}

void CameraStream::refuse(const QString& reason)
{
    close();
    ++m_run->attempt;
    ++m_run->failures;
    const auto delay = m_run->failures == 1 ? firstRetry : laterRetry;
    m_run->retryAt = Clock::now() + delay;
    dispatchMainAfter(delay, m_run, [this] { check(); });
    if (!CameraRegistry::shared().camera(m_run->camera)) {
        check();
    } else if (m_run->failures > 1) {
        reportRefusal(reason);
    }
}

void CameraStream::reportRefusal(const QString& reason)
{
    if (!std::exchange(m_run->isLogged, true)) {
        log(u"The camera %1 cannot be used: %2"_s.arg(m_run->camera, reason));
    }
    setInterruption(Interruption::Refused);
}

void CameraStream::setInterruption(Interruption interruption)
{
    if (std::exchange(m_interruption, interruption) != interruption) {
        m_receivers.interruption();
    }
}

} // namespace platform
