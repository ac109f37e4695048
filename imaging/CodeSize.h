#pragma once

#include <QSize>

namespace vellumcap {

/// The size of a drawn code.
struct CodeSize {
    double scale = 0; ///< pixels for each module
    QSize bitmap; ///< in pixels; empty for an empty extent
};

/// Scales `extent`, a size in modules, so that its longer side has 1024 pixels, and truncates both
/// sides. Because of rounding in double precision some longer sides have 1023 pixels.
CodeSize codeSize(QSize extent);

} // namespace vellumcap
