#include "platform/barcode/isolation/DecoderChannel.h"

#include "platform/barcode/isolation/DecoderLimits.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

namespace platform::decoder {
namespace {

/// The ancillary data of a message: room for one descriptor.
class Control {
public:
    void attachTo(msghdr& header)
    {
        header.msg_control = m_bytes.data();
        header.msg_controllen = m_bytes.size();
    }

    void put(msghdr& header, int descriptor)
    {
        attachTo(header);
        cmsghdr* control = CMSG_FIRSTHDR(&header);
        control->cmsg_level = SOL_SOCKET;
        control->cmsg_type = SCM_RIGHTS;
        control->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(control), &descriptor, sizeof descriptor);
    }

    static FileDescriptor take(msghdr& header)
    {
        const cmsghdr* control = CMSG_FIRSTHDR(&header);
        if (control == nullptr || control->cmsg_level != SOL_SOCKET
            || control->cmsg_type != SCM_RIGHTS) {
            return {};
        }
        int descriptor = -1;
        std::memcpy(&descriptor, CMSG_DATA(control), sizeof descriptor);
        return FileDescriptor(descriptor);
    }

private:
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> m_bytes{};
};

std::optional<QByteArray> receiveBytes(int socket, msghdr& header)
{
    QByteArray bytes(largestMessage, Qt::Uninitialized);
    iovec part{ bytes.data(), static_cast<std::size_t>(bytes.size()) };
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    const ssize_t size
        = withoutInterruption([&] { return ::recvmsg(socket, &header, MSG_CMSG_CLOEXEC); });
    if (size <= 0 || (header.msg_flags & MSG_TRUNC) != 0) {
        return std::nullopt;
    }
    bytes.truncate(size);
    return bytes;
}

int remainingMilliseconds(std::chrono::steady_clock::time_point deadline)
{
    const auto rest
        = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp<qint64>(rest.count(), 0, 1'000'000));
}

} // namespace

Channel::Ends Channel::pair()
{
    int ends[2] = { -1, -1 };
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return {};
    }
    return { FileDescriptor(ends[0]), FileDescriptor(ends[1]) };
}

bool Channel::send(QByteArrayView message, const FileDescriptor& descriptor) const
{
    iovec part{ const_cast<char*>(message.data()), static_cast<std::size_t>(message.size()) };
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    Control control;
    if (descriptor.isOpen()) {
        control.put(header, descriptor.get());
    }
    return withoutInterruption([&] {
        return ::sendmsg(m_socket.get(), &header, MSG_NOSIGNAL | MSG_DONTWAIT);
    }) == message.size();
}

Channel::Event Channel::wait(const Deadline& deadline) const
{
    std::array<pollfd, 2> polled{ pollfd{ m_socket.get(), POLLIN, 0 },
        pollfd{ deadline.cancelled, POLLIN, 0 } };
    const int ready = withoutInterruption(
        [&] { return ::poll(polled.data(), polled.size(), remainingMilliseconds(deadline.time)); });
    if (ready <= 0) {
        return Event::TimedOut;
    }
    return polled[1].revents != 0 ? Event::Cancelled : Event::Readable;
}

std::optional<Channel::Message> Channel::receive() const
{
    msghdr header = {};
    auto bytes = receiveBytes(m_socket.get(), header);
    return bytes ? std::optional(Message{ std::move(*bytes), {} }) : std::nullopt;
}

std::optional<Channel::Message> Channel::receiveWithDescriptor() const
{
    msghdr header = {};
    Control control;
    control.attachTo(header);
    auto bytes = receiveBytes(m_socket.get(), header);
    FileDescriptor descriptor = Control::take(header);
    return bytes ? std::optional(Message{ std::move(*bytes), std::move(descriptor) })
                 : std::nullopt;
}

} // namespace platform::decoder
