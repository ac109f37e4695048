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

/// Sixths of a bit for each byte, by mode.
std::array<qint64, 3> costsOf(uchar byte)
{
    if (byte >= '0' && byte <= '9') {
        return { 20, 33, 48 };
    }
    if (alphanumerics.find(char(byte)) != std::string_view::npos) {
        return { impossible, 33, 48 };
    }
    return { impossible, impossible, 48 };
}

/// Bits of the character count, by mode.
std::array<qint64, 3> countBits(int version)
{
    if (version <= 9) {
        return { 10, 9, 8 };
    }
    if (version <= 26) {
        return { 12, 11, 16 };
    }
    return { 14, 13, 16 };
}

/// A segment ends on a whole bit.
qint64 wholeBits(qint64 cost)
{
    return (cost + sixths - 1) / sixths;
}

} // namespace

QRSplitter::QRSplitter(int version)
    : m_costs{ impossible, impossible, impossible }
{
    const auto counts = countBits(version);
    for (size_t mode = 0; mode < modes; ++mode) {
        m_headers[mode] = (modeBits + counts[mode]) * sixths;
    }
}

size_t QRSplitter::cheapestMode() const
{
    const auto byBits = [](qint64 a, qint64 b) { return wholeBits(a) < wholeBits(b); };
    return size_t(std::min_element(m_costs.begin(), m_costs.end(), byBits) - m_costs.begin());
}

void QRSplitter::append(uchar byte)
{
    const auto costs = costsOf(byte);
    const size_t before = cheapestMode();
    const qint64 afresh = m_steps.empty() ? 0 : wholeBits(m_costs[before]) * sixths;
    Step step{};
    for (size_t mode = 0; mode < modes; ++mode) {
        const bool goesOn = m_costs[mode] <= afresh + m_headers[mode];
        step[mode] = QRMode(goesOn ? mode : before);
        const qint64 start = goesOn ? m_costs[mode] : afresh + m_headers[mode];
        m_costs[mode] = costs[mode] == impossible ? impossible : start + costs[mode];
    }
    m_steps.push_back(step);
}

qint64 QRSplitter::bits() const
{
    return m_steps.empty() ? 0 : wholeBits(m_costs[cheapestMode()]);
}

std::vector<QRSegment> QRSplitter::segments() const
{
    std::vector<QRSegment> found;
    auto mode = QRMode(cheapestMode());
    for (qsizetype i = qsizetype(m_steps.size()) - 1; i >= 0; --i) {
        if (found.empty() || found.back().mode != mode) {
            found.push_back({ mode, i, 0 });
        }
        found.back().begin = i;
        ++found.back().length;
        mode = m_steps[size_t(i)][size_t(mode)];
    }
    std::reverse(found.begin(), found.end());
    return found;
}

} // namespace platform
