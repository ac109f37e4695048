#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace platform {

/// Owns an open file descriptor, or none.
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

    /// Zero, or the errno of closing, which may be how a file system reports a late write error.
    int close()
    {
        if (!isOpen()) {
            return 0;
        }
        return ::close(std::exchange(m_descriptor, -1)) == 0 || errno == EINTR ? 0 : errno;
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
