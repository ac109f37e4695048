#include "platform/barcode/ZXingEngine.h"

#include "platform/barcode/ProductCode.h"

#include <ZXing/ReadBarcode.h>
#include <algorithm>
#include <array>
#include <exception>
#include <utility>

namespace platform {
namespace {

// Without UPC-A among the formats its codes are read as what they are part of, EAN-13.
constexpr std::array symbologies{
    std::pair(ZXing::BarcodeFormat::QRCode, Symbology::Qr),
    std::pair(ZXing::BarcodeFormat::DataMatrix, Symbology::DataMatrix),
    std::pair(ZXing::BarcodeFormat::EAN13, Symbology::Ean13),
    std::pair(ZXing::BarcodeFormat::EAN8, Symbology::Ean8),
    std::pair(ZXing::BarcodeFormat::UPCE, Symbology::UpcE),
    std::pair(ZXing::BarcodeFormat::Code128, Symbology::Code128),
    std::pair(ZXing::BarcodeFormat::Code39, Symbology::Code39),
    std::pair(ZXing::BarcodeFormat::Code93, Symbology::Code93),
    std::pair(ZXing::BarcodeFormat::Codabar, Symbology::Codabar),
    std::pair(ZXing::BarcodeFormat::ITF, Symbology::Itf),
    std::pair(ZXing::BarcodeFormat::Aztec, Symbology::Aztec),
    std::pair(ZXing::BarcodeFormat::PDF417, Symbology::Pdf417),
    std::pair(ZXing::BarcodeFormat::MaxiCode, Symbology::MaxiCode),
};

ZXing::BarcodeFormats everyFormat()
{
    ZXing::BarcodeFormats formats;
    for (const auto& [format, symbology] : symbologies) {
        formats |= format;
    }
    return formats;
}

Symbology symbologyOf(ZXing::BarcodeFormat wanted)
{
    for (const auto& [format, symbology] : symbologies) {
        if (format == wanted) {
            return symbology;
        }
    }
    Q_UNREACHABLE();
}

bool isDeclaredBinary(const ZXing::Result& result)
{
    const ZXing::ContentType content = result.contentType();
    return result.hasECI()
        && (content == ZXing::ContentType::Binary || content == ZXing::ContentType::Mixed
            || content == ZXing::ContentType::UnknownECI);
}

// Where no character set is declared the library guesses one, and calls every text with a control
// character binary. Bytes that are no text come out of the guess with replacement characters or
// with those of U+0080 to U+009F, which no text that is not UTF-8 holds.
bool isBytes(const QString& text, const ZXing::ByteArray& bytes)
{
    if (QUtf8StringView(bytes.data(), static_cast<qsizetype>(bytes.size())).isValidUtf8()) {
        return false;
    }
    return std::any_of(text.begin(), text.end(), [](QChar c) {
        return c == QChar::ReplacementCharacter || (c >= QChar(0x80) && c < QChar(0xA0));
    });
}

std::optional<QString> textOf(const ZXing::Result& result, Symbology symbology)
{
    const QString text = QString::fromStdWString(result.text());
    if (isDeclaredBinary(result) || (!result.hasECI() && isBytes(text, result.bytes()))) {
        return std::nullopt;
    }
    return symbology == Symbology::UpcE ? thirteenDigits(text) : text;
}

// Noise passes for a PDF417 code of one or two characters too easily.
bool isCredible(const BarcodeObservation& code)
{
    const qsizetype shortest = code.symbology == Symbology::Pdf417 ? 3 : 1;
    return !code.payloadStringValue || code.payloadStringValue->size() >= shortest;
}

QPolygonF cornersOf(const ZXing::Position& position)
{
    QPolygonF corners;
    for (const ZXing::PointI& corner : position) {
        corners.append(QPointF(corner.x, corner.y));
    }
    return corners;
}

QList<BarcodeObservation> readFormats(const QImage& grey, ZXing::BarcodeFormats formats)
{
    const auto hints = ZXing::DecodeHints()
                           .setFormats(formats)
                           .setTryHarder(true)
                           .setTryRotate(true)
                           .setTryCode39ExtendedMode(true)
                           .setReturnCodabarStartEnd(true)
                           .setMaxNumberOfSymbols(1);
    const ZXing::ImageView view(grey.constBits(), grey.width(), grey.height(),
        ZXing::ImageFormat::Lum, static_cast<int>(grey.bytesPerLine()));
    QList<BarcodeObservation> codes;
    for (const ZXing::Result& result : ZXing::ReadBarcodes(view, hints)) {
        const Symbology symbology = symbologyOf(result.format());
        BarcodeObservation code{ textOf(result, symbology), symbology,
            cornersOf(result.position()) };
        if (result.isValid() && isCredible(code)) {
            codes.append(std::move(code));
        }
    }
    return codes;
}

std::optional<QList<BarcodeObservation>> tryFormats(
    const QImage& grey, ZXing::BarcodeFormats formats)
{
    try {
        return readFormats(grey, formats);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace

std::optional<QList<BarcodeObservation>> ZXingEngine::read(const QImage& grey)
{
    auto codes = tryFormats(grey, everyFormat());
    if (codes) {
        return codes;
    }
    // One reader's exception ends all of them: let each of the others have its turn.
    for (const auto& [format, symbology] : symbologies) {
        auto found = tryFormats(grey, format);
        if (found && !found->isEmpty()) {
            return found;
        }
    }
    return std::nullopt;
}

} // namespace platform
