#pragma once

#include "platform/barcode/PictureView.h"
#include "platform/barcode/Reading.h"

#include <memory>

namespace platform {

/// The second opinion: reads the DataBar family, mirrored QR codes, and worn linear codes.
/// An engine belongs to one thread at a time. Interleaved 2 of 5 and Code 39 are left out, in which
/// it sees codes where there are none.
class ZBarEngine {
public:
    ZBarEngine();
    ~ZBarEngine();
    ZBarEngine(const ZBarEngine&) = delete;
    ZBarEngine& operator=(const ZBarEngine&) = delete;

    Readings read(const PictureView& picture);

private:
    struct Scanner;
    std::unique_ptr<Scanner> m_scanner;
    PictureBuffer m_packed;
};

} // namespace platform
