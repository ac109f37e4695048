#pragma once

#include <QImage>
#include <QList>

#include <memory>

namespace platform {
class ImageFilter;
class SampleBuffer;
} // namespace platform

namespace vellumcap {

/// The frame as a bitmap (BGRA in memory, opaque), which shares the frame's memory. Null when the
/// frame cannot be decoded. Any thread.
QImage imageFromSampleBuffer(const platform::SampleBuffer& sampleBuffer);

/// Exactly 1 stored under "pref-mirror-video" mirrors; everything else does not. Any thread.
bool isVideoMirrored();

/// What is scanned, shown and kept of a frame: its bitmap through the filters, in this order, and
/// mirrored when the preview is.
QImage preparedImage(const QImage& frame,
    const QList<std::shared_ptr<platform::ImageFilter>>& filters, bool mirrored);

} // namespace vellumcap
