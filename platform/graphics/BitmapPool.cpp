#include "platform/graphics/BitmapPool.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

namespace platform {
namespace {

constexpr std::size_t spareBlocks = 8; // enough for a few frames and their renderings
constexpr std::size_t spareBytes = 128 << 20;

/// The memory of one bitmap, owned by the image that uses it.
struct Block {
    explicit Block(std::size_t byteCount)
        : size(byteCount)
        , bytes(new (std::nothrow) uchar[byteCount])
    {
    }

    std::size_t size;
    std::unique_ptr<uchar[]> bytes;
};

class Pool {
public:
    std::unique_ptr<Block> take(std::size_t size);
    void giveBack(std::unique_ptr<Block> block);

private:
    std::mutex m_mutex;
    std::vector<std::unique_ptr<Block>> m_spare; // oldest first
    std::size_t m_spareBytes = 0;
};

std::unique_ptr<Block> Pool::take(std::size_t size)
{
    {
        const std::lock_guard lock(m_mutex);
        for (auto spare = m_spare.begin(); spare != m_spare.end(); ++spare) {
            if ((*spare)->size == size) {
                std::unique_ptr<Block> block = std::move(*spare);
                m_spare.erase(spare);
                m_spareBytes -= size;
                return block;
            }
        }
    }
    return std::make_unique<Block>(size);
}

void Pool::giveBack(std::unique_ptr<Block> block)
{
    std::vector<std::unique_ptr<Block>> superfluous; // freed without the lock
    const std::lock_guard lock(m_mutex);
    m_spareBytes += block->size;
    m_spare.push_back(std::move(block));
    while (m_spare.size() > spareBlocks || m_spareBytes > spareBytes) {
        m_spareBytes -= m_spare.front()->size;
        superfluous.push_back(std::move(m_spare.front()));
        m_spare.erase(m_spare.begin());
    }
}

// Never destroyed: an image may outlive every static object.
Pool& pool()
{
    static Pool* const shared = new Pool;
    return *shared;
}

void recycle(void* block)
{
    pool().giveBack(std::unique_ptr<Block>(static_cast<Block*>(block)));
}

} // namespace

QImage pooledBitmap(QSize size)
{
    constexpr qsizetype bytesPerPixel = 4;
    constexpr int largestSide = 1 << 15;
    if (size.isEmpty() || size.width() > largestSide || size.height() > largestSide) {
        return {};
    }
    const qsizetype bytesPerLine = size.width() * bytesPerPixel;
    auto block = pool().take(static_cast<std::size_t>(bytesPerLine * size.height()));
    if (!block->bytes) {
        return {};
    }
    uchar* const bytes = block->bytes.get();
    return { bytes, size.width(), size.height(), bytesPerLine, QImage::Format_RGB32, recycle,
        block.release() };
}

} // namespace platform
