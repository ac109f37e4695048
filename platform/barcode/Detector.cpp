#include "platform/barcode/Detector.h"

#include "platform/barcode/LiveAttempts.h"
#include "platform/barcode/Search.h"
#include "platform/barcode/StillAttempts.h"

#include <algorithm>

namespace platform {
namespace {

// The shortest side of the smallest symbol there is (a Data Matrix of 8 x 18 modules).
constexpr int smallestCode = 8;

} // namespace

std::optional<Detection> detectCodes(const QImage& grey, std::optional<LiveFrame> frame)
{
    if (std::min(grey.width(), grey.height()) < smallestCode) {
        return Detection();
    }
    Search search(viewOf(grey));
    QRect located;
    if (frame) {
        located = searchLive(search, *frame);
    } else {
        searchStill(search);
    }
    const bool nothingBut = !search.hasFound() && search.hasFailed();
    return nothingBut ? std::nullopt : std::optional(Detection{ search.takeCodes(), located });
}

} // namespace platform
