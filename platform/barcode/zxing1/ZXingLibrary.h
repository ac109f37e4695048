#pragma once

// The library as of version 1.4, which gives its text as UTF-8 when asked for it by this name.
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

/// What version 2.2 does unasked.
inline Hints hints()
{
    return Hints().setTryCode39ExtendedMode(true).setReturnCodabarStartEnd(true);
}

} // namespace platform::ZXingLibrary
