#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace platform {

/// Owns an open file descriptor, or none. Closes it on destruction.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    ~FileDescriptor() { close(); }
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        if (this != &other) {
            close();
            m_descriptor = std::exchange(other.m_descriptor, -1);
        }
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    bool isOpen() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

    /// False, with errno set, when closing fails: a file system may report a write error so late.
    bool close()
    {
        return !isOpen() || ::close(std::exchange(m_descriptor, -1)) == 0 || errno == EINTR;
    }

private:
    int m_descriptor = -1;
};

/// Repeats a system call that returns -1 while a signal interrupts it.
template <typename Call> auto withoutInterruption(Call call)
{
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

} // namespace platform
