#include "platform/camera/MotionJpeg.h"

#include "platform/camera/PictureSize.h"
#include "platform/graphics/BitmapPool.h"

#include <algorithm>
#include <array>
#include <memory>
#include <turbojpeg.h>

namespace platform {
namespace {

struct Destroy {
    void operator()(void* decoder) const { tjDestroy(decoder); }
};

/// A complete picture ends with the marker EOI; cameras may append padding. (Within the coded data
/// 0xff is never followed by 0xd9.)
bool isComplete(std::span<const unsigned char> bytes)
{
    constexpr std::array<unsigned char, 2> endOfImage = { 0xff, 0xd9 };
    return std::find_end(bytes.begin(), bytes.end(), endOfImage.begin(), endOfImage.end())
        != bytes.end();
}

} // namespace

QImage decodedMotionJpeg(std::span<const unsigned char> bytes)
{
    thread_local const std::unique_ptr<void, Destroy> decoder(tjInitDecompress());
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colorSpace = 0;
    if (!decoder || !isComplete(bytes)
        || tjDecompressHeader3(decoder.get(), bytes.data(), bytes.size(), &width, &height,
               &subsampling, &colorSpace)
            != 0
        || !isPictureSize(QSize(width, height))) {
        return {};
    }
    QImage bitmap = pooledBitmap(QSize(width, height));
    if (bitmap.isNull()) {
        return {};
    }
    const int failed = tjDecompress2(decoder.get(), bytes.data(), bytes.size(), bitmap.bits(),
        width, static_cast<int>(bitmap.bytesPerLine()), height, TJPF_BGRX,
        TJFLAG_FASTDCT | TJFLAG_LIMITSCANS);
    // Padding causes a warning, with a decoded picture.
    if (failed != 0 && tjGetErrorCode(decoder.get()) != TJERR_WARNING) {
        return {};
    }
    return bitmap;
}

} // namespace platform
