#pragma once

#include <QDir>
#include <QFileInfo>
#include <QString>

#include <optional>

/// Folders of photographs with codes. The expected text of a picture is in NAME.txt beside it.
namespace support {

/// The pictures in a folder whose formats Qt can read, by name.
QFileInfoList picturesIn(const QDir& folder);

/// Nothing when there is no such file.
std::optional<QString> expectedText(const QFileInfo& picture);

} // namespace support
