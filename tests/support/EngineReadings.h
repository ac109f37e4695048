#pragma once

#include "platform/barcode/BarcodeObservation.h"

#include <QImage>
#include <QList>

namespace support {

/// The codes that one engine of the detector reads in a picture; empty when it fails.
QList<platform::BarcodeObservation> codesByZXing(const QImage& picture);
QList<platform::BarcodeObservation> codesByZBar(const QImage& picture);

} // namespace support
