#pragma once

#include <QImage>

namespace platform {

/// A bitmap of Format_RGB32 with unspecified content. Its memory comes from a bounded pool and
/// returns to it, since allocating pages costs more than writing the pixels. Null when `size` is
/// empty or too large, or when there is no memory. Thread-safe.
QImage pooledBitmap(QSize size);

} // namespace platform
