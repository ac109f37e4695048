#pragma once

#include "platform/barcode/BarcodeObservation.h"

#include <QImage>
#include <QList>

#include <optional>

namespace platform {

/// A library that finds codes. An engine belongs to one thread at a time.
class BarcodeEngine {
public:
    BarcodeEngine() = default;
    virtual ~BarcodeEngine() = default;
    BarcodeEngine(const BarcodeEngine&) = delete;
    BarcodeEngine& operator=(const BarcodeEngine&) = delete;

    /// The codes in a picture of Format_Grayscale8, corners in its pixels; none when the library
    /// failed over this picture.
    virtual std::optional<QList<BarcodeObservation>> read(const QImage& grey) = 0;
};

} // namespace platform
