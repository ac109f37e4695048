#pragma once

#include "platform/services/FileDescriptor.h"

#include <QByteArray>
#include <QByteArrayView>

#include <chrono>
#include <optional>
#include <utility>

namespace platform::decoder {

/// Until when to wait for another process.
struct Deadline {
    std::chrono::steady_clock::time_point time;
    int cancelled = -1; ///< a descriptor that becomes readable to end the wait early, or -1
};

/// One end of a local socket that preserves message boundaries (SOCK_SEQPACKET). One thread at a
/// time.
class Channel {
public:
    struct Message {
        QByteArray bytes;
        FileDescriptor descriptor; ///< sent with the message; may be none
    };
    enum class Event { Readable, TimedOut, Cancelled };

    struct Ends {
        FileDescriptor ours;
        FileDescriptor theirs;
    };
    /// Two connected ends with close-on-exec. Not open when the system has no more descriptors.
    static Ends pair();

    explicit Channel(FileDescriptor socket)
        : m_socket(std::move(socket))
    {
    }

    /// Does not block: with one request in flight the socket always has room. False when the other
    /// end is closed.
    [[nodiscard]] bool send(QByteArrayView message, const FileDescriptor& descriptor = {}) const;

    /// Waits for a message. Readable, too, when the other end is closed.
    Event wait(const Deadline& deadline) const;

    /// Blocks until there is a message. Nullopt when the other end is closed or the message is too
    /// long. Descriptors sent with it are discarded.
    std::optional<Message> receive() const;
    /// As above, with the descriptor that was sent with the message.
    std::optional<Message> receiveWithDescriptor() const;

private:
    FileDescriptor m_socket;
};

} // namespace platform::decoder
