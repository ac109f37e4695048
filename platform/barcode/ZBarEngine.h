#pragma once

#include "platform/barcode/PictureView.h"
#include "platform/barcode/Reading.h"

#include <memory>

namespace platform {

/// Reads codes by ZBar: the DataBar family, mirrored QR codes and worn linear codes, which ZXing
/// does not read. Does not read Interleaved 2 of 5 and Code 39, for which ZBar has too many false
/// readings. One thread at a time.
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
