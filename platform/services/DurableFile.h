#pragma once

#include "platform/services/Result.h"

#include <QByteArrayView>
#include <QString>

#include <span>

namespace platform {

/// Replaces the file at `path` by the concatenation of `parts`: writes a temporary file beside it,
/// flushes it to the disk, renames it over the old file and flushes the folder. After a crash, a
/// kill or a full disk at any moment the file has either all of the old or all of the new bytes.
/// On success the new bytes are on the disk. Only the user may read the file (mode 0600). Errors
/// have the domain `posixErrorDomain`. Any thread.
Result<void> writeDurably(const QString& path, std::span<const QByteArrayView> parts);

/// Removes the temporary files that killed writers have left in `folder`. Must not be called while
/// another process or thread writes there. A file that cannot be removed is harmless and stays.
void removeUnfinishedFiles(const QString& folder);

} // namespace platform
