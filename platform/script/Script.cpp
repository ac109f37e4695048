#include "platform/script/Script.h"

#include "platform/script/LuaState.h"
#include "platform/script/ScriptThreads.h"

#include <QByteArray>
#include <QFile>
#include <QList>

#include <algorithm>
#include <clocale>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

constexpr char chunkKey = 0; // its address is the key of the compiled file in the registry
constexpr std::size_t longestDescription = 8192; // bytes

struct Call {
    QByteArray function; ///< empty: the top level only
    QList<QByteArray> arguments;
};

/// The C locale for this thread: scripts must not depend on the user's language, such as in the
/// decimal separator.
class PlainLocale {
public:
    PlainLocale()
    {
        static const locale_t plain = ::newlocale(LC_ALL_MASK, "C.UTF-8", nullptr);
        m_previous = ::uselocale(plain);
    }
    ~PlainLocale() { ::uselocale(m_previous); }
    PlainLocale(const PlainLocale&) = delete;
    PlainLocale& operator=(const PlainLocale&) = delete;

private:
    locale_t m_previous;
};

// Lua reports errors by a long jump, which skips destructors: functions that Lua calls must not
// have objects with one.

int loadFile(lua_State* lua)
{
    const auto* path = static_cast<const char*>(lua_touserdata(lua, 1));
    if (luaL_loadfilex(lua, path, "t") != LUA_OK) {
        return lua_error(lua);
    }
    lua_rawsetp(lua, LUA_REGISTRYINDEX, &chunkKey);
    return 0;
}

/// Pushes one text for the values above `first`, cut after `longestDescription` + 1 bytes.
int describeResults(lua_State* lua, int first)
{
    const int last = lua_gettop(lua);
    if (last == first) {
        lua_pushliteral(lua, "nil");
        return 1;
    }
    luaL_checkstack(lua, LUA_MINSTACK, nullptr);
    for (int index = first + 1; index <= last; ++index) {
        luaL_tolstring(lua, index, nullptr);
        lua_replace(lua, index);
    }
    luaL_Buffer text;
    luaL_buffinit(lua, &text);
    for (int index = first + 1; index <= last; ++index) {
        if (index > first + 1) {
            luaL_addstring(&text, ", ");
        }
        std::size_t size = 0;
        const char* bytes = lua_tolstring(lua, index, &size);
        const std::size_t taken = luaL_bufflen(&text);
        const std::size_t room = longestDescription + 1 - std::min(taken, longestDescription + 1);
        luaL_addlstring(&text, bytes, std::min(size, room));
        if (luaL_bufflen(&text) > longestDescription) {
            break;
        }
    }
    luaL_pushresult(&text);
    return 1;
}

int perform(lua_State* lua)
{
    const auto& call = *static_cast<const Call*>(lua_touserdata(lua, 1));
    lua_rawgetp(lua, LUA_REGISTRYINDEX, &chunkKey);
    if (call.function.isEmpty()) {
        lua_call(lua, 0, LUA_MULTRET);
        return describeResults(lua, 1);
    }
    lua_call(lua, 0, 0);
    lua_pushglobaltable(lua);
    lua_pushlstring(lua, call.function.constData(), static_cast<std::size_t>(call.function.size()));
    if (lua_gettable(lua, -2) == LUA_TNIL) {
        return luaL_error(lua, "the script has no function '%s'", call.function.constData());
    }
    const int count = static_cast<int>(call.arguments.size());
    luaL_checkstack(lua, count, "too many arguments");
    for (const QByteArray& argument : call.arguments) {
        lua_pushlstring(lua, argument.constData(), static_cast<std::size_t>(argument.size()));
    }
    lua_call(lua, count, LUA_MULTRET);
    return describeResults(lua, 2);
}

int describeError(lua_State* lua)
{
    if (lua_tostring(lua, 1) == nullptr) {
        if (luaL_callmeta(lua, 1, "__tostring") == 0) {
            lua_pushfstring(lua, "(error object is a %s value)", luaL_typename(lua, 1));
        }
        lua_replace(lua, 1);
    }
    luaL_traceback(lua, lua, lua_tostring(lua, 1), 1);
    return 1;
}

/// The text on top of the stack.
QString topText(lua_State* lua)
{
    if (lua_type(lua, -1) != LUA_TSTRING) { // describeError() failed
        return QString::fromLatin1(lua_typename(lua, lua_type(lua, -1)));
    }
    std::size_t size = 0;
    const char* bytes = lua_tolstring(lua, -1, &size);
    if (size <= longestDescription) {
        return QString::fromUtf8(bytes, static_cast<qsizetype>(size));
    }
    return QString::fromUtf8(bytes, longestDescription) + u"…"_s;
}

/// Calls `function` with a pointer in protected mode. Returns the text that it leaves.
Result<QString> protectedCall(lua_State* lua, lua_CFunction function, const void* argument,
    lua_CFunction messageHandler = nullptr)
{
    const PlainLocale plainLocale;
    lua_settop(lua, 0);
    if (messageHandler != nullptr) {
        lua_pushcfunction(lua, messageHandler);
    }
    const int handlerIndex = lua_gettop(lua);
    lua_pushcfunction(lua, function);
    lua_pushlightuserdata(lua, const_cast<void*>(argument));
    if (const int status = lua_pcall(lua, 1, 1, handlerIndex); status != LUA_OK) {
        return luaError(status, topText(lua));
    }
    return topText(lua);
}

} // namespace

struct Script::State {
    explicit State(std::unique_ptr<LuaState> newState)
        : lua(std::move(newState))
    {
    }
    ~State()
    {
        const ScriptThreads::InScript inScript; // closing runs finalizers
        const PlainLocale plainLocale;
        lua->close();
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    Result<QString> run(const Call& call)
    {
        const ScriptThreads::InScript inScript;
        return protectedCall(lua->get(), perform, &call, describeError);
    }

    std::unique_ptr<LuaState> lua;
};

Script::Script(std::unique_ptr<State> state)
    : m_state(std::move(state))
{
}

Script::~Script() = default;
Script::Script(Script&&) noexcept = default;
Script& Script::operator=(Script&&) noexcept = default;

Result<Script> Script::load(const QString& path)
{
    Result<std::unique_ptr<LuaState>> lua = LuaState::create();
    if (!lua) {
        return lua.error();
    }
    auto state = std::make_unique<State>(*std::move(lua));
    const QByteArray name = QFile::encodeName(path);
    const auto compile = [&] {
        const ScriptThreads::InScript inScript; // the file may be a pipe that blocks
        return protectedCall(state->lua->get(), loadFile, name.constData());
    };
    if (const auto compiled = compile(); !compiled) {
        return compiled.error();
    }
    return Script(std::move(state));
}

Result<QString> Script::executeHandler(const QString& name, const QStringList& arguments)
{
    Call call{ name.toUtf8(), {} };
    for (const QString& argument : arguments) {
        call.arguments.append(argument.toUtf8());
    }
    return m_state->run(call);
}

Result<QString> Script::execute()
{
    return m_state->run({});
}

} // namespace platform
