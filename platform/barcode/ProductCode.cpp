#include "platform/barcode/ProductCode.h"

namespace platform {
namespace {

// GS1 General Specifications, UPC-E: the last of the six digits selects where zeros are inserted.
QString upcA(const QString& upcE)
{
    const auto part = [&upcE](int from, int length) { return upcE.mid(from, length); };
    const auto zeros = [](int count) { return QString(count, u'0'); };
    const int last = upcE.at(6).digitValue();
    QString digits = part(0, 3);
    if (last <= 2) {
        digits += part(6, 1) + zeros(4) + part(3, 3);
    } else if (last == 3) {
        digits += part(3, 1) + zeros(5) + part(4, 2);
    } else if (last == 4) {
        digits += part(3, 2) + zeros(5) + part(5, 1);
    } else {
        digits += part(3, 3) + zeros(4) + part(6, 1);
    }
    return digits + part(7, 1);
}

} // namespace

QString thirteenDigits(const QString& upc)
{
    if (upc.size() == 12) {
        return u'0' + upc;
    }
    return upc.size() == 8 ? u'0' + upcA(upc) : upc;
}

} // namespace platform
