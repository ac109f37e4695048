#pragma once

#include <QImage>

namespace vellumcap {

/// A code's modules, one grey pixel each (Format_Grayscale8), enlarged to a grey bitmap of its
/// CodeSize with hard edges: each pixel takes the module in which its centre lies. Null for no
/// modules.
QImage codeBitmap(const QImage& modules);

} // namespace vellumcap
