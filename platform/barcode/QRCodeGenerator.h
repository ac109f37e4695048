#pragma once

#include <QByteArrayView>
#include <QImage>

/// Makes QR codes (ISO/IEC 18004) of the smallest version that can hold the message at
/// error-correction level M. The bytes of the message go in as they are, NUL included, with no
/// character set declared. Any thread.
namespace platform::QRCodeGenerator {

/// The modules, one grey pixel each, with a quiet zone of one module on each side. Null when the
/// message is empty or no code can hold it.
QImage outputImage(QByteArrayView message);

/// How many bytes must go from the message's end before a code can hold it; 0 when one can.
qsizetype excessBytes(QByteArrayView message);

} // namespace platform::QRCodeGenerator
