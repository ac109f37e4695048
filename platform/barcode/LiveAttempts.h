#pragma once

#include "platform/barcode/Search.h"

namespace platform {

/// Searches a frame by the attempt that reads most codes, then by one or two others that the
/// frame's number selects. Returns the likely place of an unread code in pixels of the frame; empty
/// for none.
QRect searchLive(Search& search, const LiveFrame& frame);

} // namespace platform
