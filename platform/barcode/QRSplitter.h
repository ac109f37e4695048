#pragma once

#include <QtGlobal>

#include <array>
#include <vector>

namespace platform {

enum class QRMode : quint8 { Numeric, Alphanumeric, Byte };

/// A run of bytes of a message that is written in one mode.
struct QRSegment {
    QRMode mode = QRMode::Byte;
    qsizetype begin = 0;
    qsizetype length = 0;
};

/// Splits a message that grows byte by byte into the segments that take the fewest bits
/// (ISO/IEC 18004, 7.4: modes, their headers and their packing). Kanji mode is not among them: a
/// reader gives back other bytes than went in.
class QRSplitter {
public:
    /// The headers are those of codes of that version, 1 to 40.
    explicit QRSplitter(int version);

    void append(uchar byte);
    qint64 bits() const
    {
        return m_bits;
    } ///< of the best split of what was appended, headers included
    std::vector<QRSegment> segments() const;

private:
    static constexpr size_t modes = 3;
    /// The mode in which the byte before is written, on the best way to each mode.
    using Step = std::array<QRMode, modes>;

    void findCheapest();

    std::array<qint64, modes> m_headers{};
    /// Of the best split that ends in each mode. Sixths of a bit: a digit takes 20, a letter 33.
    std::array<qint64, modes> m_costs;
    std::vector<Step> m_steps;
    QRMode m_cheapest = QRMode::Byte; ///< that the best split ends in
    qint64 m_bits = 0;
};

} // namespace platform
