#pragma once

#include "platform/barcode/BarcodeObservation.h"

#include <QList>

#include <optional>

namespace platform {

/// Doubtful: the symbology has little or no error detection. The reading counts only when a second
/// one gives the same result.
enum class Trust { Certain, Doubtful };

/// One code read by one engine.
struct Reading {
    BarcodeObservation code;
    Trust trust = Trust::Certain;
};

/// Nothing when the library failed on the picture.
using Readings = std::optional<QList<Reading>>;

} // namespace platform
