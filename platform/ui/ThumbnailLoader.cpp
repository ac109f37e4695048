#include "platform/ui/ThumbnailLoader.h"

#include "platform/services/Dispatch.h"
#include "platform/ui/PictureReading.h"

#include <algorithm>
#include <utility>

namespace platform {

size_t qHash(const ThumbnailLoader::Key& key, size_t seed) noexcept
{
    return qHashMulti(seed, key.path, key.side);
}

ThumbnailLoader& ThumbnailLoader::shared()
{
    static ThumbnailLoader loader;
    return loader;
}

ThumbnailLoader::ThumbnailLoader()
    : m_cache(cacheBytes)
{
}

QImage ThumbnailLoader::cached(const Key& key) const
{
    const QImage* image = m_cache.object(key);
    return image != nullptr ? *image : QImage();
}

ThumbnailLoader::Ticket ThumbnailLoader::request(
    const Key& key, std::function<void(const QImage&)> done)
{
    m_waiting.push_back({ ++m_lastTicket, key, std::move(done) });
    const Ticket ticket = m_lastTicket;
    startNext();
    return ticket;
}

void ThumbnailLoader::cancel(Ticket ticket)
{
    std::erase_if(m_waiting, [ticket](const Request& one) { return one.ticket == ticket; });
    std::replace(m_running.begin(), m_running.end(), ticket, Ticket{ 0 });
}

void ThumbnailLoader::startNext()
{
    if (m_waiting.empty() || m_running.size() >= concurrentLoads) {
        return;
    }
    const Request next = std::move(m_waiting.back());
    m_waiting.pop_back();
    m_running.push_back(next.ticket);
    const std::weak_ptr<const void> guard = m_life;
    dispatchGlobal(QualityOfService::UserInitiated, [this, guard, next] {
        const QImage image = readThumbnail(next.key.path, next.key.side);
        dispatchMain(guard, [this, next, image] { finish(next, image); });
    });
}

void ThumbnailLoader::finish(const Request& request, const QImage& image)
{
    if (!image.isNull()) {
        m_cache.insert(request.key, new QImage(image), image.sizeInBytes());
    }
    auto running = std::find(m_running.begin(), m_running.end(), request.ticket);
    const bool wanted = running != m_running.end();
    if (!wanted) {
        running = std::find(m_running.begin(), m_running.end(), Ticket{ 0 });
    }
    m_running.erase(running);
    if (wanted) {
        request.done(image);
    }
    startNext();
}

} // namespace platform
