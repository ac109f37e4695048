#pragma once

#include "platform/services/Error.h"

#include <QString>

#include <optional>
#include <variant>

/// Operations on files that report why they failed. Any thread.
namespace platform::FileManager {

/// Whether `path` is a folder, links followed. An Error in `fileErrorDomain` when that cannot be
/// told: `fileReadNoSuchFileError` where nothing is, `fileReadUnknownError` otherwise.
std::variant<bool, Error> isDirectory(const QString& path);

/// Makes the folder and those above it, for the user alone.
[[nodiscard]] std::optional<Error> createDirectory(const QString& path);

} // namespace platform::FileManager
