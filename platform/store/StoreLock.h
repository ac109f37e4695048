#pragma once

#include "platform/services/Error.h"
#include "platform/services/FileDescriptor.h"

#include <QString>

#include <optional>

namespace platform {

/// Keeps others out of a store's folder: an advisory lock on the folder itself, so that no lock
/// file can be left behind. The system releases it when the process ends, however it ends.
class StoreLock {
public:
    /// Nullopt with `error` set when somebody else holds it, or the folder cannot be opened.
    static std::optional<StoreLock> take(const QString& folder, Error& error);

private:
    explicit StoreLock(FileDescriptor folder)
        : m_folder(std::move(folder))
    {
    }

    FileDescriptor m_folder;
};

} // namespace platform
