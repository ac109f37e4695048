#pragma once

#include "platform/services/Error.h"

namespace platform {

/// The domain of errors of the store itself. Errors of the file system have `posixErrorDomain`.
inline constexpr auto storeErrorDomain = "store";

enum class StoreErrorCode {
    InUse = 1, ///< another process or another coordinator has the store open
    Damaged = 2, ///< the file is not a complete store
    NewerVersion = 3, ///< the file was written by a newer version
    OtherModel = 4, ///< the file is a store of another model
    NoStore = 5, ///< the coordinator has no store to save to
    ValueMissing = 6, ///< an object lacks a value that the model requires
    UnknownName = 7, ///< a fetch request names an entity or key that the model lacks
};

Error storeError(StoreErrorCode code, const QString& description, const QString& reason = {});

} // namespace platform
