#pragma once

#include "platform/barcode/BarcodeEngine.h"

namespace platform {

/// Reads every symbology but the DataBar family, whose readers in ZXing 1.4 abort the process on
/// some pictures. Gives the first code it finds.
class ZXingEngine final : public BarcodeEngine {
public:
    std::optional<QList<BarcodeObservation>> read(const QImage& grey) override;
};

} // namespace platform
