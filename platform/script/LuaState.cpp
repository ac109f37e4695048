#include "platform/script/LuaState.h"

#include "platform/script/Prelude.h"
#include "platform/script/ScriptThreads.h"
#include "platform/services/FileDescriptor.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <utility>

using Qt::StringLiterals::operator""_s;

namespace platform {
namespace {

constexpr std::size_t mostMemory = std::size_t{ 256 } * 1024 * 1024; // bytes
constexpr int instructionsBetweenLooks = 10000;

struct Streams {
    std::FILE* output;
    std::FILE* input;
};

/// Writing to a command that has ended is an error for the script, not the end of the program. A
/// handler, unlike a signal that is ignored, is not passed on to the commands.
void outliveBrokenPipes()
{
    struct sigaction action = {};
    if (sigaction(SIGPIPE, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
        action.sa_handler = [](int) {};
        action.sa_flags = SA_RESTART;
        sigaction(SIGPIPE, &action, nullptr);
    }
}

void lookForInterrupt(lua_State* lua, lua_Debug* /*event*/)
{
    if (ScriptThreads::areInterrupted()) {
        // From here on at every instruction, so that no pcall goes on behind it.
        lua_sethook(lua, lookForInterrupt, LUA_MASKCOUNT, 1);
        luaL_error(lua, "interrupted, since the program quits");
    }
}

int refuseToClose(lua_State* lua)
{
    auto* stream = static_cast<luaL_Stream*>(luaL_checkudata(lua, 1, LUA_FILEHANDLE));
    stream->closef = refuseToClose;
    luaL_pushfail(lua);
    lua_pushliteral(lua, "cannot close standard file");
    return 2;
}

void pushStream(lua_State* lua, std::FILE* file)
{
    void* place = lua_newuserdatauv(lua, sizeof(luaL_Stream), 0);
    new (place) luaL_Stream{ file, refuseToClose };
    luaL_setmetatable(lua, LUA_FILEHANDLE);
}

/// os.execute.
int execute(lua_State* lua)
{
    if (lua_isnoneornil(lua, 1)) {
        lua_pushboolean(lua, 1);
        return 1;
    }
    std::size_t size = 0;
    const char* command = luaL_checklstring(lua, 1, &size);
    luaL_argcheck(lua, std::strlen(command) == size, 1, "a command cannot hold a zero byte");
    char shell[] = "sh";
    char option[] = "-c";
    char* const arguments[] = { shell, option, const_cast<char*>(command), nullptr };
    pid_t child = 0;
    errno = ::posix_spawn(&child, "/bin/sh", nullptr, nullptr, arguments, environ);
    if (errno != 0) {
        return luaL_fileresult(lua, 0, nullptr);
    }
    int status = 0;
    if (withoutInterruption([&] { return ::waitpid(child, &status, 0); }) == -1) {
        return luaL_fileresult(lua, 0, nullptr);
    }
    errno = 0;
    return luaL_execresult(lua, status);
}

/// Whether half of the descriptors are still free, as the number of the next one tells.
int mayOpen(lua_State* lua)
{
    const FileDescriptor next(::open("/", O_PATH | O_CLOEXEC));
    rlimit limit = {};
    const bool isKnown = next.isOpen() && ::getrlimit(RLIMIT_NOFILE, &limit) == 0;
    lua_pushboolean(lua, isKnown && static_cast<rlim_t>(next.get()) < limit.rlim_cur / 2 ? 1 : 0);
    return 1;
}

int setUp(lua_State* lua)
{
    const auto& streams = *static_cast<const Streams*>(lua_touserdata(lua, 1));
    luaL_openlibs(lua);
    if (luaL_loadbufferx(lua, prelude, std::strlen(prelude), "=prelude", "t") != LUA_OK) {
        return lua_error(lua);
    }
    pushStream(lua, streams.output);
    pushStream(lua, streams.input);
    lua_pushcfunction(lua, execute);
    lua_pushcfunction(lua, mayOpen);
    lua_call(lua, 4, 0);
    lua_sethook(lua, lookForInterrupt, LUA_MASKCOUNT, instructionsBetweenLooks);
    return 0;
}

} // namespace

LuaState::LuaState()
    : m_input(std::fopen("/dev/null", "re"))
    , m_lua(lua_newstate(allocate, this))
{
    static const bool isReady = [] {
        outliveBrokenPipes();
        return true;
    }();
    if (!isReady || m_lua == nullptr || !m_input || m_output.stream() == nullptr) {
        m_error = u"not enough memory"_s;
        return;
    }
    Streams streams{ m_output.stream(), m_input.get() };
    lua_pushcfunction(m_lua, setUp);
    lua_pushlightuserdata(m_lua, &streams);
    if (lua_pcall(m_lua, 1, 0, 0) != LUA_OK) {
        m_error = QString::fromUtf8(lua_tostring(m_lua, -1));
    }
}

void LuaState::close()
{
    if (auto* lua = std::exchange(m_lua, nullptr)) {
        lua_close(lua);
    }
}

void* LuaState::allocate(
    void* state, void* block, std::size_t oldSize, std::size_t newSize) noexcept
{
    auto& used = static_cast<LuaState*>(state)->m_used;
    const std::size_t before = block != nullptr ? oldSize : 0; // else it tells what it is for
    if (newSize == 0) {
        std::free(block);
        used -= before;
        return nullptr;
    }
    if (newSize > before && newSize - before > mostMemory - used) {
        return nullptr;
    }
    void* moved = std::realloc(block, newSize);
    if (moved != nullptr) {
        used += newSize - before;
    }
    return moved;
}

} // namespace platform
