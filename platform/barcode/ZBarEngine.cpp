#include "platform/barcode/ZBarEngine.h"

#include "platform/barcode/ProductCode.h"

#include <QStringDecoder>

#include <algorithm>
#include <array>
#include <utility>
#include <zbar.h>

namespace platform {
namespace {

constexpr std::array symbologies{
    std::pair(zbar::ZBAR_QRCODE, Symbology::Qr),
    std::pair(zbar::ZBAR_EAN13, Symbology::Ean13),
    std::pair(zbar::ZBAR_EAN8, Symbology::Ean8),
    std::pair(zbar::ZBAR_UPCE, Symbology::UpcE),
    std::pair(zbar::ZBAR_CODE128, Symbology::Code128),
    std::pair(zbar::ZBAR_CODE93, Symbology::Code93),
    std::pair(zbar::ZBAR_CODABAR, Symbology::Codabar),
    std::pair(zbar::ZBAR_DATABAR, Symbology::DataBar),
    std::pair(zbar::ZBAR_DATABAR_EXP, Symbology::DataBarExpanded),
};

struct ImageDeleter {
    void operator()(zbar::zbar_image_t* image) const { zbar::zbar_image_destroy(image); }
};
using Image = std::unique_ptr<zbar::zbar_image_t, ImageDeleter>;

std::optional<Symbology> symbologyOf(zbar::zbar_symbol_type_t wanted)
{
    for (const auto& [type, symbology] : symbologies) {
        if (type == wanted) {
            return symbology;
        }
    }
    return std::nullopt;
}

// The library's own guess at a character set is often wrong, so the bytes are read here: UTF-8,
// else ISO 8859-1, which gives its bytes 80 to 9F no characters. A code with such bytes holds
// another character set or no text.
std::optional<QString> textOf(const QByteArray& bytes)
{
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8(bytes);
    if (!utf8.hasError()) {
        return text;
    }
    const QString latin = QString::fromLatin1(bytes);
    const auto isUnassigned = [](QChar c) { return c >= QChar(0x80) && c < QChar(0xA0); };
    return std::none_of(latin.begin(), latin.end(), isUnassigned) ? std::optional(latin)
                                                                  : std::nullopt;
}

std::optional<QString> textOf(const zbar::zbar_symbol_t* symbol, Symbology symbology)
{
    const QByteArray bytes(zbar::zbar_symbol_get_data(symbol),
        static_cast<qsizetype>(zbar::zbar_symbol_get_data_length(symbol)));
    const auto text = textOf(bytes);
    return text && symbology == Symbology::UpcE ? thirteenDigits(*text) : text;
}

QPolygonF cornersOf(const zbar::zbar_symbol_t* symbol, Symbology symbology)
{
    QPolygonF points;
    for (unsigned i = 0; i < zbar::zbar_symbol_get_loc_size(symbol); ++i) {
        points.append(QPointF(
            zbar::zbar_symbol_get_loc_x(symbol, i), zbar::zbar_symbol_get_loc_y(symbol, i)));
    }
    if (symbology == Symbology::Qr && points.size() == 4) {
        return { points.at(0), points.at(3), points.at(2), points.at(1) };
    }
    // Of a linear code the library tells where its scan lines crossed the bars.
    const QRectF box = points.boundingRect();
    return { box.topLeft(), box.topRight(), box.bottomRight(), box.bottomLeft() };
}

Image imageOver(const QByteArray& pixels, QSize size)
{
    Image image(zbar::zbar_image_create());
    zbar::zbar_image_set_format(image.get(), zbar_fourcc('Y', '8', '0', '0'));
    zbar::zbar_image_set_size(
        image.get(), static_cast<unsigned>(size.width()), static_cast<unsigned>(size.height()));
    zbar::zbar_image_set_data(
        image.get(), pixels.constData(), static_cast<unsigned long>(pixels.size()), nullptr);
    return image;
}

// The library knows no padding at the end of a row.
QByteArray packedPixels(const QImage& grey)
{
    QByteArray pixels;
    pixels.reserve(qsizetype(grey.width()) * grey.height());
    for (int y = 0; y < grey.height(); ++y) {
        pixels.append(reinterpret_cast<const char*>(grey.constScanLine(y)), grey.width());
    }
    return pixels;
}

} // namespace

struct ZBarEngine::Scanner {
    Scanner() = default;
    ~Scanner() { zbar::zbar_image_scanner_destroy(handle); }
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    zbar::zbar_image_scanner_t* handle = zbar::zbar_image_scanner_create();
};

ZBarEngine::ZBarEngine()
    : m_scanner(std::make_unique<Scanner>())
{
    const auto configure = [this](auto type, zbar::zbar_config_t option, int value) {
        zbar::zbar_image_scanner_set_config(m_scanner->handle, type, option, value);
    };
    configure(zbar::ZBAR_NONE, zbar::ZBAR_CFG_ENABLE, 0);
    for (const auto& [type, symbology] : symbologies) {
        configure(type, zbar::ZBAR_CFG_ENABLE, 1);
    }
    configure(zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_BINARY, 1);
}

ZBarEngine::~ZBarEngine() = default;

std::optional<QList<BarcodeObservation>> ZBarEngine::read(const QImage& grey)
{
    const QByteArray pixels = packedPixels(grey);
    const Image image = imageOver(pixels, grey.size());
    if (zbar::zbar_scan_image(m_scanner->handle, image.get()) < 0) {
        return std::nullopt;
    }
    QList<BarcodeObservation> codes;
    for (const auto* symbol = zbar::zbar_image_first_symbol(image.get()); symbol != nullptr;
         symbol = zbar::zbar_symbol_next(symbol)) {
        const auto symbology = symbologyOf(zbar::zbar_symbol_get_type(symbol));
        if (symbology && zbar::zbar_symbol_get_data_length(symbol) > 0) {
            codes.append({ textOf(symbol, *symbology), *symbology, cornersOf(symbol, *symbology) });
        }
    }
    return codes;
}

} // namespace platform
