#pragma once

#include <QByteArrayView>
#include <QImage>

/// Makes QR codes (ISO/IEC 18004) of the smallest version that can hold the message at
/// error-correction level M. The message is encoded byte for byte, NUL included, and declares no
/// character set. Any thread.
namespace platform::QRCodeGenerator {

/// The modules, one grey pixel each, with a quiet zone of one module on each side. Null when the
/// message is empty or no code can hold it.
QImage outputImage(QByteArrayView message);

/// The number of bytes to remove from the message's end so that a code can hold it; 0 for none.
qsizetype excessBytes(QByteArrayView message);

} // namespace platform::QRCodeGenerator
