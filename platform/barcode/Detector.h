#pragma once

#include "platform/barcode/BarcodeObservation.h"

#include <QImage>
#include <QList>
#include <QRect>

#include <optional>

namespace platform {

/// A frame among the frames of one camera, which rotate through different ways of reading.
struct LiveFrame {
    quint64 number = 0; ///< counts up from 0 over the frames that are examined
    QRect located; ///< where the frame before showed what looks like an unread code; may be empty
};

struct Detection {
    QList<BarcodeObservation> codes;
    QRect located; ///< of a live frame: where an unread code seems to be; empty when nowhere
};

/// Tries engine after engine and size after size over a picture of Format_Grayscale8 until a code
/// turns up. A still picture is searched long, a live frame (`frame` given) within half of a
/// frame's time. No value when the libraries failed over this picture and nothing was read. Any
/// thread.
std::optional<Detection> detectCodes(const QImage& grey, std::optional<LiveFrame> frame);

} // namespace platform
