#pragma once

#include "platform/services/FileDescriptor.h"

#include <QImage>

namespace platform::decoder {

/// The memory of a descriptor, mapped into this process, or none.
class MappedMemory {
public:
    enum class Access { Read, Write };

    MappedMemory() = default;
    /// data() is null when mapping fails.
    MappedMemory(const FileDescriptor& memory, qsizetype size, Access access);
    ~MappedMemory();
    MappedMemory(MappedMemory&& other) noexcept;
    MappedMemory& operator=(MappedMemory&& other) noexcept;
    MappedMemory(const MappedMemory&) = delete;
    MappedMemory& operator=(const MappedMemory&) = delete;

    uchar* data() const { return m_data; } ///< null when there is none
    qsizetype size() const { return m_size; }

private:
    uchar* m_data = nullptr;
    qsizetype m_size = 0;
};

/// Memory that is shared with one decoder for its pictures. Its size is sealed, and only this
/// process can write to it. One thread at a time.
class SharedPixels {
public:
    enum class Outcome {
        Held, ///< in memory that the decoder has mapped already
        Moved, ///< in new memory: newMemory() must be sent to the decoder
        Failed,
    };

    /// Copies in a picture of Format_Grayscale8.
    Outcome hold(const QImage& grey);

    const FileDescriptor& newMemory() const { return m_descriptor; }
    /// To be called after newMemory() has been sent.
    void forgetDescriptor() { m_descriptor = FileDescriptor(); }

    qsizetype size() const { return m_memory.size(); }
    /// Frees the memory if it is too large to be kept for the next picture.
    void shrink();

private:
    bool grow(qsizetype bytes);

    MappedMemory m_memory;
    FileDescriptor m_descriptor;
};

} // namespace platform::decoder
