#pragma once

#include "platform/store/ObjectTable.h"
#include "platform/store/StoreError.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace platform {

class ManagedObjectModel;

struct StoreContents {
    ObjectTable objects;
    qint64 nextID = 1;
};

/// Why bytes are not a store of the model.
struct StoreReadFailure {
    StoreErrorCode code = StoreErrorCode::Damaged;
    QString detail; ///< where, and what was found
};

/// Reads the bytes of a store file, which StoreFormat.h describes. Nullopt, with `failure` set,
/// unless they are a whole store that the model knows everything of.
std::optional<StoreContents> readStore(
    const QByteArray& bytes, const ManagedObjectModel& model, StoreReadFailure& failure);

} // namespace platform
