#pragma once

#include <QImage>
#include <QSize>

using GstSample = struct _GstSample;

namespace platform {

/// No camera's picture is larger on a side; what claims to be is refused.
inline constexpr int largestPictureSide = 8192;

/// Of the sample's caps; empty when they name none, or one that is refused.
QSize announcedSize(GstSample* sample);

/// The sample's picture as Format_RGB32, scaled down to fit into `area` when one is given. Null
/// when it cannot be decoded: an encoding that is not known, or fewer bytes than its size needs.
/// Any thread; a converter is kept for each thread and size.
QImage convertedPixels(GstSample* sample, QSize area = {});

} // namespace platform
