#pragma once

#include "platform/barcode/PictureView.h"
#include "platform/barcode/Reading.h"

namespace platform {

struct ZXingOptions {
    enum class Symbologies { All, Matrix, Linear };
    enum class Search { Quick, Thorough }; ///< thorough: more lines, and turned by quarters
    enum class Threshold { Local, Global };
    /// Drawing: nothing but an upright code of square modules, sharp and complete, on its paper.
    enum class Subject { Photograph, Drawing };

    Symbologies symbologies = Symbologies::All;
    Search search = Search::Thorough;
    Threshold threshold = Threshold::Local;
    Subject subject = Subject::Photograph;
};

/// Reads every symbology but the DataBar family, whose readers in ZXing 1.4 abort the process on
/// some pictures. Gives the first code it finds.
Readings readByZXing(const PictureView& picture, const ZXingOptions& options = {});

} // namespace platform
