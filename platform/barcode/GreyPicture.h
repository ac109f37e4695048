#pragma once

#include <QImage>

namespace platform {

/// The brightness of every pixel as Format_Grayscale8, from a bitmap of any format; what is
/// transparent is taken as lying on white paper. Null when there is no memory for it.
QImage greyPicture(const QImage& bitmap);

} // namespace platform
