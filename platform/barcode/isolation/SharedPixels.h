#pragma once

#include "platform/services/FileDescriptor.h"

#include <QImage>

namespace platform::decoder {

/// Memory of a descriptor that is mapped into this process, or none.
class MappedMemory {
public:
    enum class Access { Read, Write };

    MappedMemory() = default;
    /// Maps nothing when that fails.
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

/// The memory in which one decoder is shown picture after picture. Its size is sealed and only
/// this process can write to it. One thread at a time.
class SharedPixels {
public:
    enum class Outcome {
        Held, ///< the decoder knows this memory already
        Moved, ///< the picture lies in new memory: pass newMemory() on
        Failed,
    };

    /// Copies in a picture of Format_Grayscale8.
    Outcome hold(const QImage& grey);

    const FileDescriptor& newMemory() const { return m_descriptor; }
    /// The decoder has mapped it.
    void forgetDescriptor() { m_descriptor = FileDescriptor(); }

    qsizetype size() const { return m_memory.size(); }
    /// Gives the memory back when it is too large to be kept for the next picture.
    void shrink();

private:
    bool grow(qsizetype bytes);

    MappedMemory m_memory;
    FileDescriptor m_descriptor;
};

} // namespace platform::decoder
