#pragma once

#include "platform/barcode/BarcodeObservation.h"

#include <QByteArray>
#include <QImage>
#include <QString>

namespace support {

/// Draws a code black on white, upright, with its quiet zone; `modulePixels` is the width of a
/// module. Text that is not ASCII is encoded as UTF-8 without a declared character set, as most
/// generators do. Null when the symbology cannot hold the text, and for DataBar, DataBarExpanded
/// and MaxiCode, for which there is no writer.
QImage drawnCode(platform::Symbology symbology, const QString& text, int modulePixels = 4);

/// The same for a payload of bytes. With some versions of the writer only a QR code can hold bytes
/// from 0x80 to 0x9F.
QImage drawnCode(platform::Symbology symbology, const QByteArray& bytes, int modulePixels = 4);

/// Draws a QR code that declares its character set by an ECI of AIM ITS/04-023.
QImage drawnQRCode(const QString& text, const QByteArray& characterSet, int modulePixels = 4);

/// Draws a linear code from the widths of its spaces and bars in modules, beginning with a space.
QImage drawnBars(const QByteArray& widths, int modulePixels = 4);

} // namespace support
