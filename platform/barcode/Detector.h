#pragma once

#include "platform/barcode/BarcodeObservation.h"

#include <QImage>
#include <QList>
#include <QRect>

#include <optional>

namespace platform {

/// One of the frames of a camera. The frame's number selects the attempts for it.
struct LiveFrame {
    quint64 number = 0; ///< counts the examined frames from 0
    QRect located; ///< Detection::located of an earlier frame; may be empty
};

struct Detection {
    QList<BarcodeObservation> codes;
    QRect located; ///< in a live frame, the likely place of an unread code; empty for none
};

/// Makes one attempt after another to read a picture of Format_Grayscale8 until one finds a code.
/// A still picture gets many attempts; a live frame (`frame` given) gets few, about half of a
/// frame's time. Returns nothing when a library failed on this picture and no code was found. Any
/// thread.
std::optional<Detection> detectCodes(const QImage& grey, std::optional<LiveFrame> frame);

} // namespace platform
