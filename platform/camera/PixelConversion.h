#pragma once

#include "platform/camera/GstSample.h"

#include <QImage>
#include <QSize>

namespace platform {

/// Whether the sample has the bytes of a picture, as far as is known without decoding it.
bool hasPicture(GstSample* sample);

/// Whether the picture must be decoded as a whole before it can be scaled.
bool isCompressed(GstSample* sample);

/// The sample's picture as Format_RGB32, scaled down to fit into `area` if `area` is not empty and
/// the picture is not compressed. Null when it cannot be decoded: unknown encoding, or too few
/// bytes for its size. Thread-safe; each thread keeps its converters for the next frame.
QImage convertedPixels(GstSample* sample, QSize area = {});

/// `picture` (Format_RGB32) scaled down to fit into `area`. Thread-safe, as above.
QImage scaledPixels(const QImage& picture, QSize area);

} // namespace platform
