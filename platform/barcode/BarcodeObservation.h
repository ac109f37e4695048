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
    Ean13, ///< also UPC-A, whose text then has a leading zero
    Itf,
    MaxiCode,
    Pdf417,
    Qr,
    UpcE, ///< the text is the EAN-13 that the code stands for
};

/// One code found in a picture.
struct BarcodeObservation {
    std::optional<QString> payloadStringValue; ///< nothing when the payload is not text
    Symbology symbology = Symbology::Qr;
    QPolygonF corners; ///< top left, top right, bottom right, bottom left; in pixels
};

} // namespace platform
