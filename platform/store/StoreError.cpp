#include "platform/store/StoreError.h"

namespace platform {

Error storeError(StoreErrorCode code, const QString& description, const QString& reason)
{
    return { QLatin1StringView(storeErrorDomain), static_cast<int>(code), description, reason };
}

} // namespace platform
