#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace platform {

/// The text of a payload whose code declares no character set, the same whichever engine has read
/// it: UTF-8 where the bytes are valid in it; else ISO 8859-1, which gives its bytes 80 to 9F no
/// characters; where there are such bytes, or words of half-width katakana, Shift JIS. None when
/// the bytes fit none of these.
std::optional<QString> payloadText(QByteArrayView bytes);

} // namespace platform
