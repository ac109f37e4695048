#pragma once

#include <QtGlobal>

#include <array>
#include <vector>

namespace platform {

enum class QRMode : quint8 { Numeric, Alphanumeric, Byte };

/// A run of bytes of a message that is encoded in one mode.
struct QRSegment {
    QRMode mode = QRMode::Byte;
    qsizetype begin = 0;
    qsizetype length = 0;
};

/// Splits a message, appended byte by byte, into the segments that take the fewest bits
/// (ISO/IEC 18004, 7.4). Kanji mode is not used, since readers do not return the same bytes.
class QRSplitter {
public:
    /// The version, 1 to 40, decides the size of the segment headers.
    explicit QRSplitter(int version);

    void append(uchar byte);
    /// The size of the best split so far, with headers.
    qint64 bits() const { return m_bits; }
    std::vector<QRSegment> segments() const;

private:
    static constexpr std::size_t modes = 3;
    /// For each mode of a byte, the mode of the byte before it in the best split.
    using Step = std::array<QRMode, modes>;

    void findCheapest();

    std::array<qint64, modes> m_headers{};
    /// The size of the best split that ends in each mode, in sixths of a bit: a digit takes 20, a
    /// letter 33.
    std::array<qint64, modes> m_costs;
    std::vector<Step> m_steps;
    QRMode m_cheapest = QRMode::Byte; ///< the last mode of the best split
    qint64 m_bits = 0;
};

} // namespace platform
