#include "tests/support/CodeReading.h"

#include <ZXingLibrary.h>

namespace support {

std::optional<QByteArray> readByZXing(const QImage& picture)
{
    const auto hints
        = platform::ZXingLibrary::Hints().setFormats(ZXing::BarcodeFormat::QRCode).setIsPure(true);
    const ZXing::ImageView view(picture.constBits(), picture.width(), picture.height(),
        ZXing::ImageFormat::Lum, static_cast<int>(picture.bytesPerLine()));
    const ZXing::Result result = ZXing::ReadBarcode(view, hints);
    if (!result.isValid()) {
        return std::nullopt;
    }
    const ZXing::ByteArray& bytes = result.bytes();
    return QByteArray(
        reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
}

} // namespace support
