#include "platform/graphics/ImageFilter.h"

#include "platform/graphics/BitmapPool.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace platform {
namespace {

constexpr std::size_t levels = 256;

// Transfer functions of IEC 61966-2-1, continued beyond 0 and 1.
double linear(double encoded)
{
    const double v = std::abs(encoded);
    return std::copysign(v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4), encoded);
}

double encoded(double linear)
{
    const double v = std::abs(linear);
    return std::copysign(v <= 0.0031308 ? v * 12.92 : 1.055 * std::pow(v, 1 / 2.4) - 0.055, linear);
}

using Levels = std::array<quint8, levels>; // the result for each value of a component

Levels throughFilters(const QList<std::shared_ptr<ImageFilter>>& filters)
{
    Levels results{};
    for (std::size_t level = 0; level < levels; ++level) {
        double component = static_cast<double>(level) / (levels - 1);
        for (const auto& filter : filters) {
            component = filter->applied(component);
        }
        results[level]
            = static_cast<quint8>(std::lround(std::clamp(component, 0.0, 1.0) * (levels - 1)));
    }
    return results;
}

/// Looks up two components at once, which halves the time. Neighbouring components are similar in
/// most pictures, so that the used part of the table stays in the first-level cache.
class ToneTable {
public:
    explicit ToneTable(const Levels& results)
    {
        for (std::size_t high = 0; high < levels; ++high) {
            for (std::size_t low = 0; low < levels; ++low) {
                m_pairs[high << 8 | low] = static_cast<quint16>(results[high] << 8 | results[low]);
            }
        }
    }

    QRgb operator()(QRgb pixel) const
    {
        constexpr QRgb opaque = 0xFF000000;
        return m_pairs[pixel & 0xFFFF] | static_cast<QRgb>(m_pairs[pixel >> 16]) << 16 | opaque;
    }

private:
    std::array<quint16, levels * levels> m_pairs;
};

} // namespace

ImageFilter::ImageFilter(Kind kind)
    : m_kind(kind)
    , m_value(kind == Kind::ExposureAdjust ? 0.0 : 1.0)
{
}

double ImageFilter::applied(double component) const
{
    const double value = m_value;
    if (m_kind == Kind::ExposureAdjust) {
        return encoded(linear(component) * std::exp2(value));
    }
    return (component - 0.5) * value + 0.5;
}

QImage filtered(
    const QImage& bitmap, const QList<std::shared_ptr<ImageFilter>>& filters, Mirroring mirroring)
{
    Q_ASSERT(bitmap.isNull() || bitmap.format() == QImage::Format_RGB32);
    QImage result = pooledBitmap(bitmap.size());
    if (result.isNull()) {
        return result;
    }
    const auto table = std::make_unique<ToneTable>(throughFilters(filters));
    const auto tone = [pairs = table.get()](QRgb pixel) { return (*pairs)(pixel); };
    const int width = bitmap.width();
    for (int y = 0; y < bitmap.height(); ++y) {
        const auto* from = reinterpret_cast<const QRgb*>(bitmap.constScanLine(y));
        auto* to = reinterpret_cast<QRgb*>(result.scanLine(y));
        if (mirroring == Mirroring::LeftRight) {
            std::transform(from, from + width, std::reverse_iterator(to + width), tone);
        } else {
            std::transform(from, from + width, to, tone);
        }
    }
    return result;
}

} // namespace platform
