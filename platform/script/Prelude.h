#pragma once

namespace platform {

/// Lua that is run before every script, with the functions and streams that it names first.
extern const char* const prelude;

} // namespace platform
