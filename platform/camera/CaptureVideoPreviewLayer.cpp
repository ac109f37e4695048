#include "platform/camera/CaptureVideoPreviewLayer.h"

#include "platform/camera/CaptureConnection.h"
#include "platform/camera/CaptureSession.h"
#include "platform/camera/SampleBuffer.h"
#include "platform/graphics/ImageFilter.h"
#include "platform/services/Dispatch.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <pthread.h>
#include <thread>
#include <utility>

namespace platform {

struct CaptureVideoPreviewLayer::State {
    explicit State(std::shared_ptr<CaptureSession> aSession);
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    void take(const SampleBuffer& newest);

    void renderUntilEnd();
    void render(std::unique_lock<std::mutex>& lock);
    void publish(const QImage& rendered);
    void reportPicture();

    const std::shared_ptr<CaptureSession> session;

    std::mutex mutex; // guards the members up to `isObserverDue`
    std::condition_variable wake;
    bool needsScaling = false; // the frame or the size has changed
    bool needsRendering = false;
    bool isEnding = false;
    std::optional<SampleBuffer> frame; // the last one
    QSize area;
    QList<std::shared_ptr<ImageFilter>> filters;
    QImage picture;
    bool isObserverDue = false;

    QImage scaled; // preview thread only
    std::function<void()> pictureObserver; // main thread only
    const std::shared_ptr<CaptureConnection> connection = std::make_shared<CaptureConnection>();
    const std::shared_ptr<int> alive = std::make_shared<int>(); // guards dispatched jobs
    std::thread thread;
    Observation frames;
};

CaptureVideoPreviewLayer::State::State(std::shared_ptr<CaptureSession> aSession)
    : session(std::move(aSession))
    , thread([this] { renderUntilEnd(); })
    , frames(session->observeFrames([this](const SampleBuffer& newest) { take(newest); }))
{
}

CaptureVideoPreviewLayer::State::~State()
{
    frames.end();
    {
        const std::lock_guard lock(mutex);
        isEnding = true;
        wake.notify_one();
    }
    thread.join();
}

void CaptureVideoPreviewLayer::State::take(const SampleBuffer& newest)
{
    const std::lock_guard lock(mutex);
    frame = newest;
    needsScaling = true;
    needsRendering = true;
    wake.notify_one();
}

void CaptureVideoPreviewLayer::State::renderUntilEnd()
{
    pthread_setname_np(pthread_self(), "preview");
    std::unique_lock lock(mutex);
    while (true) {
        wake.wait(
            lock, [this] { return isEnding || (needsRendering && frame && !area.isEmpty()); });
        if (isEnding) {
            return;
        }
        render(lock);
    }
}

void CaptureVideoPreviewLayer::State::render(std::unique_lock<std::mutex>& lock)
{
    needsRendering = false;
    const bool scales = std::exchange(needsScaling, false);
    const SampleBuffer source = *frame;
    const QSize size = area;
    const QList<std::shared_ptr<ImageFilter>> steps = filters;
    lock.unlock();
    // Scaled first: pixels that are not shown cost nothing.
    if (scales) {
        if (const QImage small = source.pixelsWithin(size); !small.isNull()) {
            scaled = small;
        }
    }
    const auto mirroring = connection->isVideoMirrored() ? Mirroring::LeftRight : Mirroring::Off;
    const QImage rendered = scaled.isNull() ? QImage() : filtered(scaled, steps, mirroring);
    lock.lock();
    if (!rendered.isNull()) {
        publish(rendered);
    }
}

void CaptureVideoPreviewLayer::State::publish(const QImage& rendered)
{
    picture = rendered;
    if (!std::exchange(isObserverDue, true)) {
        dispatchMain(alive, [this] { reportPicture(); });
    }
}

void CaptureVideoPreviewLayer::State::reportPicture()
{
    {
        const std::lock_guard lock(mutex);
        isObserverDue = false;
    }
    // A copy: the observer may destroy the layer.
    if (const auto observer = pictureObserver) {
        observer();
    }
}

CaptureVideoPreviewLayer::CaptureVideoPreviewLayer(std::shared_ptr<CaptureSession> session)
    : m_state(std::make_unique<State>(std::move(session)))
{
}

CaptureVideoPreviewLayer::~CaptureVideoPreviewLayer() = default;

void CaptureVideoPreviewLayer::setFrameSize(QSize pixels)
{
    const std::lock_guard lock(m_state->mutex);
    if (m_state->area != pixels) {
        m_state->area = pixels;
        m_state->needsScaling = true;
        m_state->needsRendering = true;
        m_state->wake.notify_one();
    }
}

void CaptureVideoPreviewLayer::setFilters(QList<std::shared_ptr<ImageFilter>> filters)
{
    const std::lock_guard lock(m_state->mutex);
    m_state->filters = std::move(filters);
    m_state->needsRendering = true;
    m_state->wake.notify_one();
}

std::shared_ptr<ImageFilter> CaptureVideoPreviewLayer::filterNamed(const QString& name) const
{
    const std::lock_guard lock(m_state->mutex);
    const auto found = std::find_if(m_state->filters.cbegin(), m_state->filters.cend(),
        [&name](const auto& filter) { return filter->name() == name; });
    return found == m_state->filters.cend() ? nullptr : *found;
}

std::shared_ptr<CaptureConnection> CaptureVideoPreviewLayer::connection() const
{
    return m_state->session->hasInput() ? m_state->connection : nullptr;
}

QImage CaptureVideoPreviewLayer::picture() const
{
    const std::lock_guard lock(m_state->mutex);
    return m_state->picture;
}

void CaptureVideoPreviewLayer::setPictureObserver(std::function<void()> observer)
{
    m_state->pictureObserver = std::move(observer);
}

void CaptureVideoPreviewLayer::setNeedsDisplay()
{
    const std::lock_guard lock(m_state->mutex);
    m_state->needsRendering = true;
    m_state->wake.notify_one();
}

} // namespace platform
