#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace platform {

/// Decodes the payload of a code that declares no character set, so that every engine gives the
/// same text. UTF-8 if the bytes are valid; Shift JIS if they hold a word of half-width katakana,
/// or a byte from 0x80 to 0x9F, which ISO 8859-1 leaves unassigned; else ISO 8859-1. Returns
/// nothing when no character set fits.
std::optional<QString> payloadText(QByteArrayView bytes);

} // namespace platform
