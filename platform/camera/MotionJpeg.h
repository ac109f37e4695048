#pragma once

#include <QImage>

#include <span>

namespace platform {

/// Decodes one picture of a JPEG stream (ITU-T T.81) to Format_RGB32 in the bitmap pool. Null when
/// it is not a JPEG, is cut off or is too large. Thread-safe.
QImage decodedMotionJpeg(std::span<const unsigned char> bytes);

} // namespace platform
