#pragma once

#include <QString>

#include <ZXing/ReadBarcode.h>

namespace platform::ZXingLibrary {

inline QString text(const ZXing::Result& result)
{
    return QString::fromStdString(result.text());
}

// Version 2.2 renamed the hints and changed two defaults.
#if __has_include(<ZXing/ReaderOptions.h>)
using Hints = ZXing::ReaderOptions;

inline Hints defaultHints()
{
    return {};
}
#else
using Hints = ZXing::DecodeHints;

inline Hints defaultHints()
{
    return Hints().setTryCode39ExtendedMode(true).setReturnCodabarStartEnd(true);
}
#endif

/// Without inversion, for which there are separate attempts.
inline Hints hints()
{
    return defaultHints().setTryInvert(false).setTextMode(ZXing::TextMode::Plain);
}

} // namespace platform::ZXingLibrary
