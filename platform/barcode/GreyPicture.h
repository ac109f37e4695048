#pragma once

#include <QImage>

namespace platform {

/// Converts a bitmap of any format to Format_Grayscale8. Transparent pixels are blended with
/// white. Null when there is not enough memory.
QImage greyPicture(const QImage& bitmap);

} // namespace platform
