#include "platform/barcode/ZBarEngine.h"

#include "platform/barcode/PayloadText.h"
#include "platform/barcode/ProductCode.h"

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

std::optional<QString> textOf(const zbar::zbar_symbol_t* symbol, Symbology symbology)
{
    const QByteArray bytes(zbar::zbar_symbol_get_data(symbol),
        static_cast<qsizetype>(zbar::zbar_symbol_get_data_length(symbol)));
    // ZBar returns bytes: its own guess of a character set is often wrong.
    const auto text = payloadText(bytes);
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
    // For a linear code the points are those where scan lines crossed the bars.
    const QRectF box = points.boundingRect();
    return { box.topLeft(), box.topRight(), box.bottomRight(), box.bottomLeft() };
}

// Single scan lines misread a linear code now and then, but rarely with the same result.
constexpr int certainLines = 3;

Trust trustOf(const zbar::zbar_symbol_t* symbol, Symbology symbology)
{
    switch (symbology) {
    case Symbology::Qr:
        return Trust::Certain;
    case Symbology::Codabar:
    case Symbology::UpcE:
    case Symbology::DataBar:
    case Symbology::DataBarExpanded:
        return Trust::Doubtful;
    default:
        return zbar::zbar_symbol_get_quality(symbol) < certainLines ? Trust::Doubtful
                                                                    : Trust::Certain;
    }
}

Image imageOver(const PictureView& picture)
{
    Image image(zbar::zbar_image_create());
    zbar::zbar_image_set_format(image.get(), zbar_fourcc('Y', '8', '0', '0'));
    zbar::zbar_image_set_size(
        image.get(), static_cast<unsigned>(picture.width), static_cast<unsigned>(picture.height));
    zbar::zbar_image_set_data(image.get(), picture.pixels,
        static_cast<unsigned long>(picture.width) * static_cast<unsigned long>(picture.height),
        nullptr);
    return image;
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

Readings ZBarEngine::read(const PictureView& picture)
{
    // ZBar does not support padding at the end of a row.
    if (!picture.isPacked()) {
        m_packed.resize(picture.width, picture.height);
        for (int y = 0; y < picture.height; ++y) {
            std::copy_n(picture.row(y), picture.width, m_packed.row(y));
        }
    }
    const Image image = imageOver(picture.isPacked() ? picture : m_packed.view());
    if (zbar::zbar_scan_image(m_scanner->handle, image.get()) < 0) {
        return std::nullopt;
    }
    QList<Reading> readings;
    for (const auto* symbol = zbar::zbar_image_first_symbol(image.get()); symbol != nullptr;
         symbol = zbar::zbar_symbol_next(symbol)) {
        const auto symbology = symbologyOf(zbar::zbar_symbol_get_type(symbol));
        if (symbology && zbar::zbar_symbol_get_data_length(symbol) > 0) {
            readings.append(
                { { textOf(symbol, *symbology), *symbology, cornersOf(symbol, *symbology) },
                    trustOf(symbol, *symbology) });
        }
    }
    return readings;
}

} // namespace platform
