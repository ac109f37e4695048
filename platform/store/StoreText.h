#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace platform {

/// Texts as a store file holds them. XML 1.0 has no way to write some characters: most control
/// characters, U+FFFE, U+FFFF and surrogates without their other half. A text with one of them is
/// escaped first and its element says so (escaped="yes"): such a code unit is written as \uXXXX
/// and a backslash as \\. Every other text stays as it is, so that a person can read it.
bool needsEscape(QStringView text);
QString escaped(QStringView text);
/// Nullopt when a backslash starts neither \\ nor \uXXXX.
std::optional<QString> unescaped(QStringView text);

/// Appends `text`, which needs no escape, as the character data of an element.
/// A carriage return becomes a reference: parsers would make it a line feed.
void appendXmlText(QByteArray& output, QStringView text);

} // namespace platform
