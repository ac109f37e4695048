#pragma once

#include <QImage>

namespace vellumcap {

/// Enlarges the modules of a code, one pixel each (Format_Grayscale8), to a bitmap of the same
/// format and of its CodeSize. Edges are hard: each pixel has the value of the module that contains
/// its centre. Null for a null image.
QImage codeBitmap(const QImage& modules);

} // namespace vellumcap
