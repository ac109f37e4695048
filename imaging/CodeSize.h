#pragma once

#include <QSize>

namespace vellumcap {

/// How large a code is drawn.
struct CodeSize {
    double scale = 0; ///< pixels for each module
    QSize bitmap; ///< in pixels; empty for an empty extent
};

/// The longer side of `extent`, a size in modules, is brought to 1024 pixels, and the bitmap's
/// sides are truncated. In double precision that makes some sides 1023, which is kept.
CodeSize codeSize(QSize extent);

} // namespace vellumcap
