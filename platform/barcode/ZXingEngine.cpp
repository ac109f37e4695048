#include "platform/barcode/ZXingEngine.h"

#include "platform/barcode/ProductCode.h"

#include <ZXingLibrary.h>
#include <algorithm>
#include <array>
#include <exception>
#include <utility>

namespace platform {
namespace {

constexpr std::size_t certainItf = 14; // digits; codes of this length have a check digit

struct Format {
    ZXing::BarcodeFormat library;
    Symbology symbology;
    ZXingOptions::Symbologies group;
};

constexpr auto matrix = ZXingOptions::Symbologies::Matrix;
constexpr auto linear = ZXingOptions::Symbologies::Linear;

// UPC-A is not listed, so that its codes are read as EAN-13.
constexpr std::array formats{
    Format{ ZXing::BarcodeFormat::QRCode, Symbology::Qr, matrix },
    Format{ ZXing::BarcodeFormat::DataMatrix, Symbology::DataMatrix, matrix },
    Format{ ZXing::BarcodeFormat::EAN13, Symbology::Ean13, linear },
    Format{ ZXing::BarcodeFormat::EAN8, Symbology::Ean8, linear },
    Format{ ZXing::BarcodeFormat::UPCE, Symbology::UpcE, linear },
    Format{ ZXing::BarcodeFormat::Code128, Symbology::Code128, linear },
    Format{ ZXing::BarcodeFormat::Code39, Symbology::Code39, linear },
    Format{ ZXing::BarcodeFormat::Code93, Symbology::Code93, linear },
    Format{ ZXing::BarcodeFormat::Codabar, Symbology::Codabar, linear },
    Format{ ZXing::BarcodeFormat::ITF, Symbology::Itf, linear },
    Format{ ZXing::BarcodeFormat::Aztec, Symbology::Aztec, matrix },
    Format{ ZXing::BarcodeFormat::PDF417, Symbology::Pdf417, matrix },
    Format{ ZXing::BarcodeFormat::MaxiCode, Symbology::MaxiCode, matrix },
};

bool isWanted(const Format& format, ZXingOptions::Symbologies wanted)
{
    return wanted == ZXingOptions::Symbologies::All || wanted == format.group;
}

ZXing::BarcodeFormats formatsOf(ZXingOptions::Symbologies wanted)
{
    ZXing::BarcodeFormats result;
    for (const Format& format : formats) {
        if (isWanted(format, wanted)) {
            result |= format.library;
        }
    }
    return result;
}

std::optional<Symbology> symbologyOf(ZXing::BarcodeFormat wanted)
{
    for (const Format& format : formats) {
        if (format.library == wanted) {
            return format.symbology;
        }
    }
    return std::nullopt;
}

bool isDeclaredBinary(const ZXing::Result& result)
{
    const ZXing::ContentType content = result.contentType();
    return content == ZXing::ContentType::Binary || content == ZXing::ContentType::Mixed
        || content == ZXing::ContentType::UnknownECI;
}

// Without a declared character set ZXing guesses one, and reports text with control characters as
// binary. Binary data decoded by a wrong guess has replacement characters or characters from U+0080
// to U+009F, which do not occur in text of other encodings than UTF-8.
bool isBytes(const QString& text)
{
    return std::any_of(text.begin(), text.end(), [](QChar character) {
        return character == QChar::ReplacementCharacter
            || (character >= QChar(0x80) && character < QChar(0xA0));
    });
}

std::optional<QString> textOf(const ZXing::Result& result, Symbology symbology)
{
    const QString text = ZXingLibrary::text(result);
    const ZXing::ByteArray& bytes = result.bytes();
    const QUtf8StringView utf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
    if (result.hasECI() ? isDeclaredBinary(result) : !utf8.isValidUtf8() && isBytes(text)) {
        return std::nullopt;
    }
    return symbology == Symbology::UpcE ? thirteenDigits(text) : text;
}

// PDF417 codes of one or two characters are usually misread noise.
bool isCredible(const ZXing::Result& result, Symbology symbology)
{
    const std::size_t shortest = symbology == Symbology::Pdf417 ? 3 : 1;
    return result.isValid() && result.bytes().size() >= shortest;
}

Trust trustOf(const ZXing::Result& result, Symbology symbology)
{
    switch (symbology) {
    case Symbology::Codabar:
    case Symbology::Code39:
    case Symbology::Ean8:
    case Symbology::Ean13:
    case Symbology::UpcE:
        return Trust::Doubtful;
    case Symbology::Itf:
        return result.bytes().size() < certainItf ? Trust::Doubtful : Trust::Certain;
    default:
        return Trust::Certain;
    }
}

QPolygonF cornersOf(const ZXing::Position& position)
{
    QPolygonF corners;
    for (const ZXing::PointI& corner : position) {
        corners.append(QPointF(corner.x, corner.y));
    }
    return corners;
}

QList<Reading> readFormats(
    const PictureView& picture, ZXing::BarcodeFormats wanted, const ZXingOptions& options)
{
    const auto hints = ZXingLibrary::hints()
                           .setFormats(wanted)
                           .setTryHarder(true)
                           .setTryRotate(true)
                           .setBinarizer(ZXing::Binarizer::LocalAverage)
                           .setIsPure(options.subject == ZXingOptions::Subject::Drawing)
                           .setMaxNumberOfSymbols(1);
    const ZXing::ImageView view(picture.pixels, picture.width, picture.height,
        ZXing::ImageFormat::Lum, static_cast<int>(picture.stride));
    QList<Reading> readings;
    for (const ZXing::Result& result : ZXing::ReadBarcodes(view, hints)) {
        const auto symbology = symbologyOf(result.format());
        if (symbology && isCredible(result, *symbology)) {
            readings.append(
                { { textOf(result, *symbology), *symbology, cornersOf(result.position()) },
                    trustOf(result, *symbology) });
        }
    }
    return readings;
}

Readings tryFormats(
    const PictureView& picture, ZXing::BarcodeFormats wanted, const ZXingOptions& options)
{
    try {
        return readFormats(picture, wanted, options);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace

Readings readByZXing(const PictureView& picture, const ZXingOptions& options)
{
    // Only Data Matrix is read better as a drawing, and the PDF417 reader corrupts the heap then.
    const auto wanted = options.subject == ZXingOptions::Subject::Drawing
        ? ZXing::BarcodeFormats(ZXing::BarcodeFormat::DataMatrix)
        : formatsOf(options.symbologies);
    auto readings = tryFormats(picture, wanted, options);
    if (readings) {
        return readings;
    }
    // An exception of one format's reader ended the others too: try the formats one by one.
    for (const Format& format : formats) {
        if (isWanted(format, options.symbologies)) {
            auto found = tryFormats(picture, format.library, options);
            if (found && !found->isEmpty()) {
                return found;
            }
        }
    }
    return std::nullopt;
}

} // namespace platform
