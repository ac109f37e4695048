#pragma once

#include <QByteArray>
#include <QImage>

#include <optional>

/// The bytes of the one QR code in a picture of Format_Grayscale8, with no guess at a character
/// set; nullopt when that library reads none.
namespace support {

/// The picture is upright and holds nothing else.
std::optional<QByteArray> readByZXing(const QImage& picture);
std::optional<QByteArray> readByZBar(const QImage& picture);

} // namespace support
