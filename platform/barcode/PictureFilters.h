#pragma once

#include "platform/barcode/PictureView.h"

#include <QTransform>

/// Ways to make a code easier to read. Each fills `to`, which must not hold the pixels that it
/// reads. They run on the calling thread alone; memory they lack is an std::bad_alloc.
namespace platform::PictureFilters {

/// `factor` times smaller in each direction; each pixel is the mean of a square. Columns and rows
/// that fill no square are dropped.
void shrink(const PictureView& from, int factor, PictureBuffer& to);

/// Of another size, by linear interpolation. Meant for enlarging; below half the size pixels are
/// left out.
void resample(const PictureView& from, QSize size, PictureBuffer& to);

/// Black and white exchanged.
void invert(const PictureView& from, PictureBuffer& to);

/// The mean of each pixel's 3 x 3 neighbourhood, weighed 1-2-1.
void blur(const PictureView& from, PictureBuffer& to);

/// Each pixel moved away from the blurred picture by `quarters` quarters of its distance from it.
void sharpen(const PictureView& from, int quarters, PictureBuffer& to);

/// The mean of the square of `2 * radius + 1` pixels around each pixel.
void average(const PictureView& from, int radius, PictureBuffer& to);

/// Black where a pixel is darker by more than 1/16 than the mean of the square of `2 * radius + 1`
/// pixels around it, else white.
void thresholdLocally(const PictureView& from, int radius, PictureBuffer& to);

/// Contrast limited adaptive histogram equalisation (Zuiderveld, Graphics Gems IV), in 8 x 8 tiles.
void equalise(const PictureView& from, PictureBuffer& to);

/// Each pixel repeated `times` times in both directions.
void repeatPixels(const PictureView& from, int times, PictureBuffer& to);

/// How much brightness changes around each pixel, across and down together.
void findEdges(const PictureView& from, PictureBuffer& to);

/// Surrounded by `margin` white pixels.
void frame(const PictureView& from, int margin, PictureBuffer& to);

/// Left and right exchanged.
void mirror(const PictureView& from, PictureBuffer& to);

/// Each pixel the darkest of its 3 x 3 neighbourhood: thickens dark
/// modules that were printed too thin.
void darken(const PictureView& from, PictureBuffer& to);

/// Each pixel the lightest of its 3 x 3 neighbourhood.
void lighten(const PictureView& from, PictureBuffer& to);

/// Of the given size, each pixel taken from where `toSource` maps it, by linear interpolation;
/// what lies outside repeats the border.
void warp(const PictureView& from, const QTransform& toSource, QSize size, PictureBuffer& to);

} // namespace platform::PictureFilters
