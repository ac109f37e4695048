#include "platform/barcode/QRCodeGenerator.h"

#include "platform/barcode/QRSplitter.h"

#include <qrencode.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace platform::QRCodeGenerator {

namespace {

constexpr int quietZone = 1; // modules
constexpr uchar black = 0x00;
constexpr uchar white = 0xff;
constexpr int largestVersion = 40;

/// Data codewords of each version at level M (ISO/IEC 18004, table 7).
constexpr std::array<int, largestVersion> codewords{ 16, 28, 44, 64, 86, 108, 124, 154, 182, 216,
    254, 290, 334, 365, 415, 453, 507, 563, 627, 669, 714, 782, 860, 914, 1000, 1062, 1128, 1193,
    1267, 1373, 1455, 1541, 1631, 1725, 1812, 1914, 1992, 2102, 2216, 2334 };

/// The last version of each group of versions with segment headers of the same size.
constexpr std::array<int, 3> lastOfGroup{ 9, 26, largestVersion };

/// In bits.
constexpr qint64 capacity(int version)
{
    return 8LL * codewords.at(static_cast<std::size_t>(version - 1));
}

struct Plan {
    int version = 0;
    std::vector<QRSegment> segments;
};

/// Appends the message until a code of that version cannot hold more. Returns the number of bytes
/// that it can hold.
qsizetype fill(QRSplitter& split, QByteArrayView message, int version)
{
    for (qsizetype held = 0; held < message.size(); ++held) {
        split.append(static_cast<uchar>(message[held]));
        if (split.bits() > capacity(version)) {
            return held;
        }
    }
    return message.size();
}

std::optional<Plan> plan(QByteArrayView message)
{
    for (const int last : lastOfGroup) {
        QRSplitter split(last);
        if (fill(split, message, last) < message.size()) {
            continue;
        }
        int version = last;
        while (version > 1 && split.bits() <= capacity(version - 1)) {
            --version;
        }
        return Plan{ version, split.segments() };
    }
    return std::nullopt;
}

QRencodeMode encodeMode(QRMode mode)
{
    switch (mode) {
    case QRMode::Numeric:
        return QR_MODE_NUM;
    case QRMode::Alphanumeric:
        return QR_MODE_AN;
    case QRMode::Byte:
        break;
    }
    return QR_MODE_8;
}

std::unique_ptr<QRcode, decltype(&QRcode_free)> encode(QByteArrayView message, const Plan& plan)
{
    std::unique_ptr<QRcode, decltype(&QRcode_free)> code(nullptr, QRcode_free);
    const std::unique_ptr<QRinput, decltype(&QRinput_free)> input(
        QRinput_new2(plan.version, QR_ECLEVEL_M), QRinput_free);
    if (input == nullptr) {
        return code;
    }
    const auto* bytes = reinterpret_cast<const uchar*>(message.data());
    for (const QRSegment& segment : plan.segments) {
        if (QRinput_append(input.get(), encodeMode(segment.mode), static_cast<int>(segment.length),
                bytes + segment.begin)
            != 0) {
            return code;
        }
    }
    code.reset(QRcode_encodeInput(input.get()));
    return code;
}

} // namespace

QImage outputImage(QByteArrayView message)
{
    const auto planned = message.isEmpty() ? std::nullopt : plan(message);
    if (!planned) {
        return {};
    }
    const auto code = encode(message, *planned);
    if (code == nullptr) {
        return {};
    }
    const int extent = code->width + 2 * quietZone;
    QImage image(extent, extent, QImage::Format_Grayscale8);
    image.fill(white);
    for (int y = 0; y < code->width; ++y) {
        const uchar* modules = code->data + static_cast<qsizetype>(y) * code->width;
        uchar* line = image.scanLine(y + quietZone) + quietZone;
        std::transform(modules, modules + code->width, line,
            [](uchar module) { return (module & 1) != 0 ? black : white; });
    }
    return image;
}

qsizetype excessBytes(QByteArrayView message)
{
    QRSplitter split(largestVersion);
    return message.size() - fill(split, message, largestVersion);
}

} // namespace platform::QRCodeGenerator
