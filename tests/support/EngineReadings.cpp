#include "tests/support/EngineReadings.h"

#include "platform/barcode/GreyPicture.h"
#include "platform/barcode/ZBarEngine.h"
#include "platform/barcode/ZXingEngine.h"

namespace support {
namespace {

QList<platform::BarcodeObservation> codesOf(const platform::Readings& readings)
{
    QList<platform::BarcodeObservation> codes;
    for (const auto& reading : readings.value_or(QList<platform::Reading>())) {
        codes.append(reading.code);
    }
    return codes;
}

} // namespace

QList<platform::BarcodeObservation> codesByZXing(const QImage& picture)
{
    const QImage grey = platform::greyPicture(picture);
    return codesOf(platform::readByZXing(platform::viewOf(grey)));
}

QList<platform::BarcodeObservation> codesByZBar(const QImage& picture)
{
    const QImage grey = platform::greyPicture(picture);
    return codesOf(platform::ZBarEngine().read(platform::viewOf(grey)));
}

} // namespace support
