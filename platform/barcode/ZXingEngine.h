#pragma once

#include "platform/barcode/PictureView.h"
#include "platform/barcode/Reading.h"

namespace platform {

struct ZXingOptions {
    enum class Symbologies { All, Matrix, Linear };
    /// Drawing: an upright, sharp and complete code of square modules, with its quiet zone and
    /// nothing else.
    enum class Subject { Photograph, Drawing };

    Symbologies symbologies = Symbologies::All;
    Subject subject = Subject::Photograph;
};

/// Reads codes by ZXing. Returns the first code found. Does not read the DataBar family, whose
/// readers in ZXing 1.4 abort the process on some pictures.
Readings readByZXing(const PictureView& picture, const ZXingOptions& options = {});

} // namespace platform
