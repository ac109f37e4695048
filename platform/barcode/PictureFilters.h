#pragma once

#include "platform/barcode/PictureView.h"

#include <QTransform>

/// Filters that make codes easier to read. Each fills `to`, which must not hold the pixels of
/// `from`. They start no threads and throw std::bad_alloc when there is not enough memory.
namespace platform::PictureFilters {

/// Reduces by `factor` in each direction; each pixel is the mean of a square. Drops columns and
/// rows at the end that do not fill a square.
void shrink(const PictureView& from, int factor, PictureBuffer& to);

/// Scales to `size` by linear interpolation. Meant for enlarging: below half the size it skips
/// pixels.
void resample(const PictureView& from, QSize size, PictureBuffer& to);

/// Exchanges black and white.
void invert(const PictureView& from, PictureBuffer& to);

/// The mean of each pixel's 3 x 3 neighbourhood, with the weights 1-2-1.
void blur(const PictureView& from, PictureBuffer& to);

/// Unsharp mask: adds the difference from the blurred picture, times `quarters` / 4.
void sharpen(const PictureView& from, int quarters, PictureBuffer& to);

/// The mean of the square of `2 * radius + 1` pixels around each pixel.
void average(const PictureView& from, int radius, PictureBuffer& to);

/// Contrast limited adaptive histogram equalisation (Zuiderveld, Graphics Gems IV), in 8 x 8 tiles.
void equalise(const PictureView& from, PictureBuffer& to);

/// Repeats each pixel `times` times in both directions.
void repeatPixels(const PictureView& from, int times, PictureBuffer& to);

/// Edge strength: the sum of the horizontal and the vertical difference between the neighbours.
void findEdges(const PictureView& from, PictureBuffer& to);

/// Adds a border of `margin` white pixels.
void frame(const PictureView& from, int margin, PictureBuffer& to);

/// Exchanges left and right.
void mirror(const PictureView& from, PictureBuffer& to);

/// Fills a picture of the given size. `toSource` maps its pixels to positions in `from`, which are
/// interpolated linearly. Positions outside take the nearest border pixel.
void warp(const PictureView& from, const QTransform& toSource, QSize size, PictureBuffer& to);

} // namespace platform::PictureFilters
