#pragma once

#include <QString>

namespace platform {

/// Converts a product code to its 13-digit form: a UPC-A code of 12 digits gets a leading zero, a
/// UPC-E code of 8 digits is expanded first. Returns any other text unchanged.
QString thirteenDigits(const QString& upc);

} // namespace platform
