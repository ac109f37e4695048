#pragma once

#include <QImage>
#include <QSize>

#include <span>

namespace platform {

/// Decodes one picture of a JPEG stream (ITU-T T.81) to Format_RGB32 in the bitmap pool. With an
/// `area`, at the smallest of the decoder's own scales that still covers what fits into it. Null
/// when the picture is no JPEG, is cut off or is too large. Any thread.
QImage decodedMotionJpeg(std::span<const unsigned char> bytes, QSize area = {});

} // namespace platform
