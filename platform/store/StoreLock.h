#pragma once

#include "platform/services/FileDescriptor.h"
#include "platform/services/Result.h"

#include <QString>

namespace platform {

/// An advisory lock on a store's folder. The folder itself is locked, so that no lock file can be
/// left behind. The kernel releases the lock when the process ends, even by a crash.
class StoreLock {
public:
    /// Does not block. `StoreErrorCode::InUse` when another process or object holds the lock,
    /// `posixErrorDomain` when the folder cannot be opened or locked.
    static Result<StoreLock> take(const QString& folder);

private:
    explicit StoreLock(FileDescriptor folder)
        : m_folder(std::move(folder))
    {
    }

    FileDescriptor m_folder;
};

} // namespace platform
