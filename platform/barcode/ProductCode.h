#pragma once

#include <QString>

namespace platform {

/// A product code in its 13-digit form, under which it is known wherever it is looked up: a UPC-A
/// code of 12 digits gains a zero, a UPC-E code of 8 digits is expanded and gains a zero. Any
/// other text comes back unchanged.
QString thirteenDigits(const QString& upc);

} // namespace platform
