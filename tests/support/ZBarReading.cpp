#include "tests/support/CodeReading.h"

#include <memory>
#include <zbar.h>

namespace support {
namespace {

using Scanner
    = std::unique_ptr<zbar::zbar_image_scanner_t, decltype(&zbar::zbar_image_scanner_destroy)>;
using Image = std::unique_ptr<zbar::zbar_image_t, decltype(&zbar::zbar_image_destroy)>;

Scanner newScanner()
{
    Scanner scanner(zbar::zbar_image_scanner_create(), zbar::zbar_image_scanner_destroy);
    const auto set = [&](zbar::zbar_symbol_type_t type, zbar::zbar_config_t option, int value) {
        zbar::zbar_image_scanner_set_config(scanner.get(), type, option, value);
    };
    set(zbar::ZBAR_NONE, zbar::ZBAR_CFG_ENABLE, 0);
    set(zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_ENABLE, 1);
    set(zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_BINARY, 1);
    return scanner;
}

} // namespace

std::optional<QByteArray> readByZBar(const QImage& picture)
{
    QByteArray pixels; // ZBar does not support the padding of QImage's lines
    for (int y = 0; y < picture.height(); ++y) {
        pixels.append(reinterpret_cast<const char*>(picture.constScanLine(y)), picture.width());
    }
    const Image image(zbar::zbar_image_create(), zbar::zbar_image_destroy);
    zbar::zbar_image_set_format(image.get(), zbar_fourcc('Y', '8', '0', '0'));
    zbar::zbar_image_set_size(image.get(), static_cast<unsigned>(picture.width()),
        static_cast<unsigned>(picture.height()));
    zbar::zbar_image_set_data(
        image.get(), pixels.constData(), static_cast<unsigned long>(pixels.size()), nullptr);
    const Scanner scanner = newScanner();
    zbar::zbar_scan_image(scanner.get(), image.get());
    const auto* symbol = zbar::zbar_image_first_symbol(image.get());
    if (symbol == nullptr) {
        return std::nullopt;
    }
    return QByteArray(zbar::zbar_symbol_get_data(symbol),
        static_cast<qsizetype>(zbar::zbar_symbol_get_data_length(symbol)));
}

} // namespace support
