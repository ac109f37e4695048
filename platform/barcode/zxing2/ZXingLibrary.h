#pragma once

#include <QString>

#include <ZXing/ReadBarcode.h>
#include <ZXing/ZXVersion.h>

namespace platform::ZXingLibrary {

inline QString text(const ZXing::Result& result)
{
    return QString::fromStdString(result.text());
}

// Inversion and sizes are tried by attempts of our own.
#if ZXING_VERSION_MINOR >= 2
inline ZXing::ReaderOptions hints()
{
    return ZXing::ReaderOptions().setTryInvert(false).setTextMode(ZXing::TextMode::Plain);
}
#else
inline ZXing::DecodeHints hints()
{
    return ZXing::DecodeHints()
        .setTryInvert(false)
        .setTryCode39ExtendedMode(true)
        .setReturnCodabarStartEnd(true)
        .setTextMode(ZXing::TextMode::Plain);
}
#endif

} // namespace platform::ZXingLibrary
