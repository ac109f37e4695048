#include "platform/camera/FormatChoice.h"

#include <algorithm>
#include <tuple>

namespace platform {

namespace {

constexpr QSize largestSize(1920, 1080);
constexpr double wantedRate = 30;
constexpr double tolerance = 0.05; // 30000/1001 counts as 30

/// The better a format is, the greater its rank.
auto rank(const CameraFormat& format)
{
    const bool fits = format.size.width() <= largestSize.width()
        && format.size.height() <= largestSize.height();
    const qint64 area = static_cast<qint64>(format.size.width()) * format.size.height();
    const double rate = format.highestRate();
    const bool isFast = rate >= wantedRate - tolerance;
    const bool isUncompressed = format.encoding != CameraFormat::Encoding::JPEG;
    return std::tuple(fits, isFast, isFast ? 0 : rate, fits ? area : -area, isUncompressed,
        -static_cast<int>(format.encoding));
}

} // namespace

std::optional<CameraFormat> chosenFormat(const QList<CameraFormat>& formats)
{
    const auto best = std::max_element(formats.begin(), formats.end(),
        [](const auto& left, const auto& right) { return rank(left) < rank(right); });
    return best == formats.end() ? std::nullopt : std::optional(*best);
}

} // namespace platform
