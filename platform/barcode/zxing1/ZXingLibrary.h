#pragma once

// For ZXing 1.4, which returns UTF-8 text when this macro is defined.
#ifndef ZX_USE_UTF8
#define ZX_USE_UTF8
#endif

#include <QString>

#include <ZXing/ReadBarcode.h>

namespace platform::ZXingLibrary {

inline QString text(const ZXing::Result& result)
{
    return QString::fromStdString(result.text());
}

using Hints = ZXing::DecodeHints;

/// The defaults of version 2.2.
inline Hints hints()
{
    return Hints().setTryCode39ExtendedMode(true).setReturnCodabarStartEnd(true);
}

} // namespace platform::ZXingLibrary
