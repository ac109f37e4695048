#pragma once

#include "platform/script/ScriptOutput.h"
#include "platform/services/Result.h"

#include <QString>

#include <cstddef>
#include <cstdio>
#include <lua.hpp>
#include <memory>

namespace platform {

/// An error of the domain "lua"; `status` is that of a protected call.
Error luaError(int status, const QString& message);

/// A Lua state for one script that cannot harm the program: it has limited memory, can be
/// interrupted, and has the libraries as Prelude.cpp changes them.
class LuaState {
public:
    /// Fails when there is not enough memory.
    static Result<std::unique_ptr<LuaState>> create();
    ~LuaState() { close(); }
    LuaState(const LuaState&) = delete;
    LuaState& operator=(const LuaState&) = delete;

    lua_State* get() const { return m_lua; }

    /// Frees the state, which runs finalizers of the script. get() returns null afterwards.
    void close();

private:
    LuaState();

    static void* allocate(
        void* state, void* block, std::size_t oldSize, std::size_t newSize) noexcept;

    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::size_t m_used = 0; ///< bytes
    ScriptOutput m_output;
    std::unique_ptr<std::FILE, CloseFile> m_input; ///< an empty file
    lua_State* m_lua;
};

} // namespace platform
