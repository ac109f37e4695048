#pragma once

#include "platform/barcode/BarcodeEngine.h"

#include <memory>

namespace platform {

/// The second opinion: reads the DataBar family, mirrored QR codes, and worn linear codes.
/// Interleaved 2 of 5 and Code 39 are left out, in which it sees codes where there are none.
class ZBarEngine final : public BarcodeEngine {
public:
    ZBarEngine();
    ~ZBarEngine() override;

    std::optional<QList<BarcodeObservation>> read(const QImage& grey) override;

private:
    struct Scanner;
    std::unique_ptr<Scanner> m_scanner;
};

} // namespace platform
