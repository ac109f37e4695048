#pragma once

#include "platform/barcode/Search.h"

namespace platform {

/// Reads a frame in the way in which most codes are read at once and then in one or two of the
/// ways that its number selects. Returns where an unread code seems to be, in pixels of the frame.
QRect searchLive(Search& search, const LiveFrame& frame);

} // namespace platform
