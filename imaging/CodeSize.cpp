#include "imaging/CodeSize.h"

#include <algorithm>

namespace vellumcap {

CodeSize codeSize(QSize extent)
{
    if (extent.isEmpty()) {
        return {};
    }
    constexpr double longerSide = 1024;
    const double width = extent.width();
    const double height = extent.height();
    const double scale = std::min(longerSide / width, longerSide / height);
    return { scale, QSize(static_cast<int>(width * scale), static_cast<int>(height * scale)) };
}

} // namespace vellumcap
