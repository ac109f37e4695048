#pragma once

#include "platform/services/FileDescriptor.h"

#include <QByteArray>
#include <QByteArrayView>

#include <chrono>
#include <optional>
#include <utility>

namespace platform::decoder {

/// How long to wait for another process.
struct Patience {
    std::chrono::steady_clock::time_point deadline;
    int cancelled = -1; ///< a descriptor that becomes readable when nobody waits any longer
};

/// One end of a local socket that keeps messages apart (SOCK_SEQPACKET). One thread at a time.
class Channel {
public:
    struct Message {
        QByteArray bytes;
        FileDescriptor descriptor; ///< that came along
    };
    enum class Event { Readable, TimedOut, Cancelled };

    struct Ends {
        FileDescriptor ours;
        FileDescriptor theirs;
    };
    /// Two ends that belong together, closed on exec; not open when the system has no more.
    static Ends pair();

    explicit Channel(FileDescriptor socket)
        : m_socket(std::move(socket))
    {
    }

    /// Never waits: who is answered before he asks again leaves room for a message. False when
    /// the other end is gone.
    [[nodiscard]] bool send(QByteArrayView message, const FileDescriptor& descriptor = {}) const;

    /// Readable also when the other end is gone.
    Event wait(const Patience& patience) const;

    /// Waits for a message; none when the other end is gone or the message is too long.
    /// Descriptors that come along are dropped.
    std::optional<Message> receive() const;
    /// As above, and takes the descriptor that comes along.
    std::optional<Message> receiveWithDescriptor() const;

private:
    FileDescriptor m_socket;
};

} // namespace platform::decoder
