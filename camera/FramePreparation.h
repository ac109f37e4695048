#pragma once

#include <QImage>
#include <QList>

#include <memory>

namespace platform {
class ImageFilter;
class SampleBuffer;
} // namespace platform

namespace vellumcap {

/// The frame as an opaque bitmap, BGRA in memory, which shares the frame's memory. Null when the
/// frame cannot be decoded. Any thread.
QImage imageFromSampleBuffer(const platform::SampleBuffer& sampleBuffer);

/// Whether the preference "pref-mirror-video" is exactly 1. Any thread.
bool isVideoMirrored();

/// The bitmap that is examined, shown and stored: `frame` after the filters, in this order, and
/// mirrored left to right if `mirrored`.
QImage preparedImage(const QImage& frame,
    const QList<std::shared_ptr<platform::ImageFilter>>& filters, bool mirrored);

} // namespace vellumcap
