#pragma once

#include "platform/barcode/BarcodeObservation.h"

#include <QList>

#include <optional>

namespace platform {

/// Doubtful: what was read has little or nothing in it that tells a code from chance, so that it
/// counts only once another attempt has read the same.
enum class Trust { Certain, Doubtful };

/// What one engine makes of one picture.
struct Reading {
    BarcodeObservation code;
    Trust trust = Trust::Certain;
};

/// None when the library failed over the picture.
using Readings = std::optional<QList<Reading>>;

} // namespace platform
