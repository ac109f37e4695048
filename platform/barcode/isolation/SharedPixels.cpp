#include "platform/barcode/isolation/SharedPixels.h"

#include "platform/barcode/isolation/DecoderLimits.h"

#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <utility>

namespace platform::decoder {

MappedMemory::MappedMemory(const FileDescriptor& memory, qsizetype size, Access access)
{
    const int protection = access == Access::Write ? PROT_READ | PROT_WRITE : PROT_READ;
    void* data
        = ::mmap(nullptr, static_cast<std::size_t>(size), protection, MAP_SHARED, memory.get(), 0);
    if (data != MAP_FAILED) {
        m_data = static_cast<uchar*>(data);
        m_size = size;
    }
}

MappedMemory::~MappedMemory()
{
    if (m_data != nullptr) {
        ::munmap(m_data, static_cast<std::size_t>(m_size));
    }
}

MappedMemory::MappedMemory(MappedMemory&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr))
    , m_size(std::exchange(other.m_size, 0))
{
}

MappedMemory& MappedMemory::operator=(MappedMemory&& other) noexcept
{
    std::swap(m_data, other.m_data);
    std::swap(m_size, other.m_size);
    return *this;
}

SharedPixels::Outcome SharedPixels::hold(const QImage& grey)
{
    const qsizetype bytes = grey.sizeInBytes();
    Outcome outcome = Outcome::Held;
    if (bytes > m_memory.size()) {
        if (!grow(bytes)) {
            return Outcome::Failed;
        }
        outcome = Outcome::Moved;
    }
    std::memcpy(m_memory.data(), grey.constBits(), static_cast<std::size_t>(bytes));
    return outcome;
}

bool SharedPixels::grow(qsizetype bytes)
{
    const qsizetype size = (bytes + mebibyte - 1) / mebibyte * mebibyte;
    FileDescriptor descriptor(::memfd_create("vellumcap-pixels", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    // Without allocation here, writing to the memory could end in a fatal signal.
    if (!descriptor.isOpen()
        || withoutInterruption([&] { return ::fallocate(descriptor.get(), 0, 0, size); }) != 0) {
        return false;
    }
    MappedMemory memory(descriptor, size, MappedMemory::Access::Write);
    constexpr int seals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_FUTURE_WRITE | F_SEAL_SEAL;
    if (memory.data() == nullptr || ::fcntl(descriptor.get(), F_ADD_SEALS, seals) != 0) {
        return false;
    }
    m_memory = std::move(memory);
    m_descriptor = std::move(descriptor);
    return true;
}

void SharedPixels::shrink()
{
    if (m_memory.size() > largestKept) {
        m_memory = MappedMemory();
    }
}

} // namespace platform::decoder
