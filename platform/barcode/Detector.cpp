#include "platform/barcode/Detector.h"

#include "platform/barcode/LiveAttempts.h"
#include "platform/barcode/Search.h"
#include "platform/barcode/StillAttempts.h"

#include <algorithm>
#include <new>
#include <utility>

namespace platform {
namespace {

// The shortest side of the smallest symbol there is (a Data Matrix of 8 x 18 modules).
constexpr int smallestCode = 8;

Detection detect(const QImage& grey, const std::optional<LiveFrame>& frame, bool& hasFailed)
{
    Search search(viewOf(grey));
    QRect located;
    if (frame) {
        located = searchLive(search, *frame);
    } else {
        searchStill(search);
    }
    hasFailed = search.hasFailed();
    return { search.takeCodes(), located };
}

} // namespace

std::optional<Detection> detectCodes(const QImage& grey, std::optional<LiveFrame> frame)
{
    if (std::min(grey.width(), grey.height()) < smallestCode) {
        return Detection();
    }
    try {
        bool hasFailed = false;
        Detection detection = detect(grey, frame, hasFailed);
        const bool nothingBut = detection.codes.isEmpty() && hasFailed;
        return nothingBut ? std::nullopt : std::optional(std::move(detection));
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

} // namespace platform
