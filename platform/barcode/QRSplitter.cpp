#include "platform/barcode/QRSplitter.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace platform {

namespace {

constexpr qint64 sixths = 6;
constexpr qint64 impossible = std::numeric_limits<qint64>::max() / 2;
constexpr qint64 modeBits = 4;
constexpr std::string_view alphanumerics = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ $%*+-./:";

using Costs = std::array<qint64, 3>;

/// Sixths of a bit for each byte, by mode.
constexpr auto costsOf = [] {
    std::array<Costs, 256> costs{};
    costs.fill({ impossible, impossible, 48 });
    for (const char character : alphanumerics) {
        costs[static_cast<uchar>(character)] = { impossible, 33, 48 };
    }
    for (uchar digit = '0'; digit <= '9'; ++digit) {
        costs[digit] = { 20, 33, 48 };
    }
    return costs;
}();

/// Bits of the character count, by mode.
Costs countBits(int version)
{
    if (version <= 9) {
        return { 10, 9, 8 };
    }
    if (version <= 26) {
        return { 12, 11, 16 };
    }
    return { 14, 13, 16 };
}

/// From sixths of a bit, rounded up.
qint64 wholeBits(qint64 cost)
{
    return (cost + sixths - 1) / sixths;
}

} // namespace

QRSplitter::QRSplitter(int version)
    : m_costs{ impossible, impossible, impossible }
{
    const auto counts = countBits(version);
    for (std::size_t mode = 0; mode < modes; ++mode) {
        m_headers[mode] = (modeBits + counts[mode]) * sixths;
    }
}

void QRSplitter::append(uchar byte)
{
    const qint64 best = m_bits * sixths;
    Step step{};
    for (std::size_t mode = 0; mode < modes; ++mode) {
        const qint64 newSegment = best + m_headers[mode];
        const bool continues = m_costs[mode] <= newSegment;
        step[mode] = continues ? static_cast<QRMode>(mode) : m_cheapest;
        const qint64 start = continues ? m_costs[mode] : newSegment;
        const qint64 cost = costsOf[byte][mode];
        m_costs[mode] = cost == impossible ? impossible : start + cost;
    }
    m_steps.push_back(step);
    findCheapest();
}

void QRSplitter::findCheapest()
{
    m_bits = impossible;
    for (std::size_t mode = 0; mode < modes; ++mode) {
        const qint64 bits = wholeBits(m_costs[mode]);
        if (bits < m_bits) {
            m_bits = bits;
            m_cheapest = static_cast<QRMode>(mode);
        }
    }
}

std::vector<QRSegment> QRSplitter::segments() const
{
    std::vector<QRSegment> found;
    QRMode mode = m_cheapest;
    for (qsizetype i = std::ssize(m_steps) - 1; i >= 0; --i) {
        if (found.empty() || found.back().mode != mode) {
            found.push_back({ mode, i, 0 });
        }
        found.back().begin = i;
        ++found.back().length;
        mode = m_steps[static_cast<std::size_t>(i)][static_cast<std::size_t>(mode)];
    }
    std::reverse(found.begin(), found.end());
    return found;
}

} // namespace platform
