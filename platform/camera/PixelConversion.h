#pragma once

#include "platform/camera/GstSample.h"

#include <QImage>
#include <QSize>

namespace platform {

/// Of the sample's caps; empty when they name none, or one that is refused.
QSize announcedSize(GstSample* sample);

/// Whether the sample has the bytes of a picture, as far as can be told without decoding it.
bool hasPicture(GstSample* sample);

/// Whether a picture must be decoded as a whole before it can be scaled.
bool isCompressed(GstSample* sample);

/// The sample's picture as Format_RGB32, scaled down to fit into `area` when one is given and the
/// picture is not compressed. Null when it cannot be decoded: an encoding that is not known, or
/// fewer bytes than its size needs. Any thread; each keeps what it needs for the next frame.
QImage convertedPixels(GstSample* sample, QSize area = {});

/// `picture` (Format_RGB32) scaled down to fit into `area`. Any thread, as above.
QImage scaledPixels(const QImage& picture, QSize area);

} // namespace platform
