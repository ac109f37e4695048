#pragma once

#include <QSize>

namespace platform {

/// False for sizes that no camera has: empty ones, and those above 8192 pixels on a side.
inline bool isPictureSize(QSize size)
{
    constexpr int largestSide = 8192;
    return !size.isEmpty() && size.width() <= largestSide && size.height() <= largestSide;
}

} // namespace platform
