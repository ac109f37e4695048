#pragma once

#include "platform/barcode/BarcodeObservation.h"

#include <QByteArray>
#include <QImage>
#include <QString>

namespace support {

/// Black on white, upright, with its quiet zone; `modulePixels` is the width of one module.
/// Text outside ASCII goes in as UTF-8 bytes with no character set declared, as most generators
/// do. Null where the symbology cannot hold the text, and for DataBar, DataBarExpanded and
/// MaxiCode, for which there is no writer.
QImage drawnCode(platform::Symbology symbology, const QString& text, int modulePixels = 4);

/// The same for a payload that need not be text. Only a QR code can be drawn of bytes from 0x80 to
/// 0x9F by every version of the writer.
QImage drawnCode(platform::Symbology symbology, const QByteArray& bytes, int modulePixels = 4);

/// A QR code that declares its character set (ECI), one of those that AIM ITS/04-023 numbers.
QImage drawnQRCode(const QString& text, const QByteArray& characterSet, int modulePixels = 4);

/// A linear code given as the widths of its bars and spaces, in modules, beginning with a space.
QImage drawnBars(const QByteArray& widths, int modulePixels = 4);

} // namespace support
