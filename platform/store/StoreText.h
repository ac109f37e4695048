#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace platform {

/// Texts in a store file. XML 1.0 cannot represent some characters: most control characters,
/// U+FFFE, U+FFFF and unpaired surrogates. A text with one of them is escaped and its element has
/// escaped="yes": such a code unit is written as \uXXXX and a backslash as \\. Other texts are not
/// changed, so that a person can read them.
bool needsEscape(QStringView text);
QString escaped(QStringView text);
/// Nullopt when a backslash begins neither \\ nor \uXXXX.
std::optional<QString> unescaped(QStringView text);

/// Appends `text`, which needs no escape, as the character data of an element.
/// A carriage return becomes a character reference: parsers would read it as a line feed.
void appendXmlText(QByteArray& output, QStringView text);

} // namespace platform
