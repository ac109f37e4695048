#pragma once

#include <QString>

namespace platform {

/// Writes one line to the system log (standard error, or the journal where Qt logs there).
/// Escapes control characters, so that a text from a code cannot forge a second line or control a
/// terminal. Any thread.
void log(const QString& line);

} // namespace platform
