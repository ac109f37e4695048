#pragma once

#include <QString>
#include <QStringList>

#include <memory>
#include <variant>

namespace platform {

/// Why a script was not loaded or did not come to its end: Lua's own message, for an error at run
/// time with the traceback.
struct ScriptError {
    QString message;
};

/// A user's script: Lua 5.4 in a state of its own, which shares nothing with other scripts. The
/// standard libraries are open, but for what would reach the whole program (see Prelude.cpp); its
/// output goes to the log; it may have 256 MB of memory; it is interrupted by finishScripts().
/// One thread at a time, which should be that of a job of dispatchScript().
class Script {
public:
    /// A description of what the script returned.
    using Outcome = std::variant<QString, ScriptError>;

    /// Reads and compiles the file, text only, and runs nothing of it.
    static std::variant<Script, ScriptError> load(const QString& path);
    ~Script();
    Script(Script&&) noexcept;
    Script& operator=(Script&&) noexcept;

    /// Runs the top level, then calls the global function `name` with the UTF-8 of `arguments`.
    Outcome executeHandler(const QString& name, const QStringList& arguments);

    /// Runs the top level alone.
    Outcome execute();

private:
    struct State;
    explicit Script(std::unique_ptr<State> state);

    std::unique_ptr<State> m_state;
};

} // namespace platform
