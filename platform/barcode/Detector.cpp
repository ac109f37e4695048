#include "platform/barcode/Detector.h"

#include "platform/barcode/LiveAttempts.h"
#include "platform/barcode/Search.h"
#include "platform/barcode/StillAttempts.h"

#include <algorithm>
#include <new>

namespace platform {
namespace {

// The shorter side of the smallest symbol, a Data Matrix of 8 x 18 modules.
constexpr int smallestCode = 8;

std::optional<Detection> detect(const QImage& grey, const std::optional<LiveFrame>& frame)
{
    Search search(viewOf(grey));
    QRect located;
    if (frame) {
        located = searchLive(search, *frame);
    } else {
        searchStill(search);
    }
    if (search.hasFailed() && !search.hasFound()) {
        return std::nullopt;
    }
    return Detection{ search.takeCodes(), located };
}

} // namespace

std::optional<Detection> detectCodes(const QImage& grey, std::optional<LiveFrame> frame)
{
    if (std::min(grey.width(), grey.height()) < smallestCode) {
        return Detection();
    }
    try {
        return detect(grey, frame);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

} // namespace platform
