#pragma once

#include "platform/services/Error.h"

#include <QByteArrayView>
#include <QString>

#include <optional>
#include <span>

namespace platform {

/// Replaces the file at `path` by the concatenation of `parts`: a temporary file beside it,
/// flushed to the disk, renamed over it, and the folder flushed. After a crash, a kill or a full
/// disk at any moment the path holds either the old or the new bytes, whole. Once this has
/// returned without an error the new bytes are on the disk. Only the user may read the file
/// (mode 0600). Any thread.
[[nodiscard]] std::optional<Error> writeDurably(
    const QString& path, std::span<const QByteArrayView> parts);

/// Removes the temporary files that killed writers have left in `folder`. To be called only while
/// nobody writes there. One that cannot be removed does no harm and is left.
void removeUnfinishedFiles(const QString& folder);

} // namespace platform
