#pragma once

#include <QString>

namespace platform {

/// Writes one line to the system log (standard error, or the journal where Qt logs there).
/// Control characters in `line` are escaped, so that a text out of a code cannot forge a second
/// line or drive a terminal. Any thread.
void log(const QString& line);

} // namespace platform
