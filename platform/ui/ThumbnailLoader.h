#pragma once

#include <QCache>
#include <QImage>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace platform {

/// Reads the pictures of all thumbnails on other threads, two at a time. The newest request comes
/// first, since it is for what is on the screen now. Keeps pictures in a cache of limited size.
/// Main thread.
class ThumbnailLoader {
public:
    /// A picture reduced to fit a square of `side` pixels of the screen.
    struct Key {
        QString path;
        int side = 0;
        bool operator==(const Key&) const = default;
    };
    using Ticket = quint64; ///< 0 is no request

    static constexpr qsizetype cacheBytes = 32LL * 1024 * 1024;
    static constexpr int concurrentLoads = 2;

    static ThumbnailLoader& shared();

    ThumbnailLoader();
    ThumbnailLoader(const ThumbnailLoader&) = delete;
    ThumbnailLoader& operator=(const ThumbnailLoader&) = delete;

    QImage cached(const Key& key) const; ///< null when it is not in the cache
    /// Calls `done` with the picture, null when it cannot be read, unless the request is cancelled.
    Ticket request(const Key& key, std::function<void(const QImage&)> done);
    void cancel(Ticket ticket);

private:
    struct Request {
        Ticket ticket;
        Key key;
        std::function<void(const QImage&)> done;
    };

    void startNext();
    void finish(const Request& request, const QImage& image);

    QCache<Key, QImage> m_cache;
    std::vector<Request> m_waiting;
    std::vector<Ticket> m_running; ///< 0 for a cancelled request
    Ticket m_lastTicket = 0;
    std::shared_ptr<const void> m_life = std::make_shared<char>();
};

size_t qHash(const ThumbnailLoader::Key& key, size_t seed = 0) noexcept;

} // namespace platform
