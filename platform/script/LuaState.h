#pragma once

#include "platform/script/ScriptOutput.h"

#include <QString>

#include <cstddef>
#include <cstdio>
#include <lua.hpp>
#include <memory>
#include <optional>

namespace platform {

/// A Lua state that can do a script no less, and the program no harm: bounded memory, an
/// interrupt, the libraries as Prelude.cpp leaves them.
class LuaState {
public:
    LuaState();
    ~LuaState() { close(); }
    LuaState(const LuaState&) = delete;
    LuaState& operator=(const LuaState&) = delete;

    /// Why there is no state to work with.
    const std::optional<QString>& error() const { return m_error; }
    lua_State* get() const { return m_lua; }

    /// Frees everything, which runs finalizers of the script. No state is left.
    void close();

private:
    static void* allocate(
        void* state, void* block, std::size_t oldSize, std::size_t newSize) noexcept;

    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::size_t m_used = 0; ///< bytes
    ScriptOutput m_output;
    std::unique_ptr<std::FILE, CloseFile> m_input; ///< an empty one
    lua_State* m_lua;
    std::optional<QString> m_error;
};

} // namespace platform
