#pragma once

#include <QImage>

namespace platform {

/// A bitmap of Format_RGB32 with unspecified content. Its memory is taken from, and returns to, a
/// bounded pool, since fresh pages cost more than the pixels that are written into them. Null when
/// there is no memory. Any thread.
QImage pooledBitmap(QSize size);

} // namespace platform
