#include "platform/script/LuaState.h"

#include "platform/script/Prelude.h"
#include "platform/script/ScriptThreads.h"
#include "platform/services/FileDescriptor.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <new>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

constexpr std::size_t mostMemory = std::size_t{ 256 } * 1024 * 1024; // bytes
constexpr int instructionsBetweenChecks = 10000;

struct Streams {
    std::FILE* output;
    std::FILE* input;
};

/// Writing to a command that has ended must be an error of the script and not end the program.
/// Commands would inherit an ignored signal, but not a handler.
void handleBrokenPipes()
{
    struct sigaction action = {};
    if (sigaction(SIGPIPE, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
        action.sa_handler = [](int) {};
        action.sa_flags = SA_RESTART;
        sigaction(SIGPIPE, &action, nullptr);
    }
}

void checkForInterrupt(lua_State* lua, lua_Debug* /*event*/)
{
    if (ScriptThreads::areInterrupted()) {
        // From now on at every instruction, so that no pcall can continue.
        lua_sethook(lua, checkForInterrupt, LUA_MASKCOUNT, 1);
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

/// Whether half of the descriptors are still free, estimated by the number of the next one.
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
    lua_sethook(lua, checkForInterrupt, LUA_MASKCOUNT, instructionsBetweenChecks);
    return 0;
}

} // namespace

Error luaError(int status, const QString& message)
{
    return { u"lua"_s, status, message, {} };
}

LuaState::LuaState()
    : m_input(std::fopen("/dev/null", "re"))
    , m_lua(lua_newstate(allocate, this))
{
}

Result<std::unique_ptr<LuaState>> LuaState::create()
{
    static std::once_flag isHandled;
    std::call_once(isHandled, handleBrokenPipes);
    std::unique_ptr<LuaState> state(new LuaState);
    lua_State* lua = state->m_lua;
    if (lua == nullptr || !state->m_input || state->m_output.stream() == nullptr) {
        return luaError(LUA_ERRMEM, u"not enough memory"_s);
    }
    Streams streams{ state->m_output.stream(), state->m_input.get() };
    lua_pushcfunction(lua, setUp);
    lua_pushlightuserdata(lua, &streams);
    if (const int status = lua_pcall(lua, 1, 0, 0); status != LUA_OK) {
        return luaError(status, QString::fromUtf8(lua_tostring(lua, -1)));
    }
    return state;
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
    const std::size_t before = block != nullptr ? oldSize : 0; // else the kind of object
    if (newSize == 0) {
        std::free(block);
        used -= before;
        return nullptr;
    }
    if (newSize > before && newSize - before > mostMemory - used) {
        return nullptr;
    }
    void* resized = std::realloc(block, newSize);
    if (resized != nullptr) {
        used += newSize - before;
    }
    return resized;
}

} // namespace platform
