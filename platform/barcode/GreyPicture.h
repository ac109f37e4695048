#pragma once

#include <QImage>

namespace platform {

/// The brightness of every pixel as Format_Grayscale8, from a bitmap of any format; what is
/// transparent is taken as lying on white paper. Null when there is no memory for it.
QImage greyPicture(const QImage& bitmap);

/// A Grayscale8 picture `factor` times smaller in each direction; each pixel is the mean of a
/// square. Columns and rows that fill no square are dropped.
QImage shrunk(const QImage& grey, int factor);

/// A Grayscale8 picture with black and white exchanged.
QImage inverted(const QImage& grey);

} // namespace platform
