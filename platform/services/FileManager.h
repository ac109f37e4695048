#pragma once

#include "platform/services/Result.h"

#include <QString>

/// Operations on folders. Any thread.
namespace platform::FileManager {

/// Whether `path` is a folder; follows links. Errors in `fileErrorDomain`:
/// `fileReadNoSuchFileError` when nothing exists at `path`, `fileReadUnknownError` otherwise.
Result<bool> isDirectory(const QString& path);

/// Creates the folder and the missing ones above it, accessible to the user only (mode 0700).
/// Errors in `fileErrorDomain`: `fileWriteUnknownError`.
Result<void> createDirectory(const QString& path);

} // namespace platform::FileManager
