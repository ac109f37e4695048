#pragma once

#include <QCache>
#include <QImage>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace platform {

/// Reads the pictures of all thumbnails: off the main thread, two at a time, the newest request
/// first, since what was asked for last is what is on the screen. What was read is kept up to a
/// bound. Main thread.
class ThumbnailLoader {
public:
    /// A picture reduced to fit a square of `side` pixels of the screen.
    struct Key {
        QString path;
        int side = 0;
        bool operator==(const Key&) const = default;
    };
    using Ticket = quint64; ///< 0 is no request

    static constexpr qsizetype cacheBytes = qsizetype(32) * 1024 * 1024;
    static constexpr int concurrentLoads = 2;

    static ThumbnailLoader& shared();

    ThumbnailLoader();
    ThumbnailLoader(const ThumbnailLoader&) = delete;
    ThumbnailLoader& operator=(const ThumbnailLoader&) = delete;

    QImage cached(const Key& key) const; ///< null when it is not kept
    /// `done` gets the picture, null when it cannot be read, unless the request is cancelled.
    Ticket request(const Key& key, std::function<void(const QImage&)> done);
    void cancel(Ticket ticket);

    qsizetype cachedBytes() const { return m_cache.totalCost(); }
    quint64 loadCount() const { return m_loads; } ///< how many files were read so far

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
    std::vector<Ticket> m_running; ///< cancelled ones stay in it as 0
    Ticket m_lastTicket = 0;
    quint64 m_loads = 0;
    std::shared_ptr<const void> m_life = std::make_shared<char>();
};

size_t qHash(const ThumbnailLoader::Key& key, size_t seed = 0) noexcept;

} // namespace platform
