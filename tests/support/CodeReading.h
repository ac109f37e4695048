#pragma once

#include <QByteArray>
#include <QImage>

#include <optional>

/// The bytes of the only QR code in a picture of Format_Grayscale8, as a library reads them without
/// guessing a character set; nothing when it reads no code.
namespace support {

/// For an upright picture of a code and nothing else.
std::optional<QByteArray> readByZXing(const QImage& picture);
std::optional<QByteArray> readByZBar(const QImage& picture);

} // namespace support
