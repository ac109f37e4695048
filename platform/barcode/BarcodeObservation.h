#pragma once

#include <QPolygonF>
#include <QString>

#include <optional>

namespace platform {

enum class Symbology {
    Aztec,
    Codabar,
    Code39,
    Code93,
    Code128,
    DataBar,
    DataBarExpanded,
    DataMatrix,
    Ean8,
    Ean13, ///< also UPC-A, whose text is given with its leading zero
    Itf,
    MaxiCode,
    Pdf417,
    Qr,
    UpcE, ///< text as the EAN-13 that the code abbreviates
};

/// One code that was found in a picture.
struct BarcodeObservation {
    std::optional<QString> payloadStringValue; ///< absent when the payload is no text
    Symbology symbology = Symbology::Qr;
    QPolygonF corners; ///< in pixels of the picture; top left, top right, bottom right, bottom left
};

} // namespace platform
