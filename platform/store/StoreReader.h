#pragma once

#include "platform/services/Result.h"
#include "platform/store/ObjectTable.h"

#include <QByteArray>
#include <QString>

namespace platform {

class ManagedObjectModel;

struct StoreContents {
    ObjectTable objects;
    qint64 nextID = 1;
};

/// Reads the bytes of a store file in the format that StoreFormat.h describes. Fails with
/// `StoreErrorCode::Damaged`, `NewerVersion` or `OtherModel` unless they are a complete store whose
/// entities and attributes the model has. `path` is only for the texts of errors.
Result<StoreContents> readStore(
    const QByteArray& bytes, const ManagedObjectModel& model, const QString& path);

} // namespace platform
