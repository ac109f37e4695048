#pragma once

namespace platform {

/// Lua code that runs before every script. Its arguments are the streams and functions in its
/// first line.
extern const char* const prelude;

} // namespace platform
