#pragma once

#include "platform/services/Result.h"

#include <QString>
#include <QStringList>

#include <memory>

namespace platform {

/// A user's script in Lua 5.4, with a state of its own that shares nothing with other scripts. It
/// has the standard libraries, except for functions that affect the whole process (see
/// Prelude.cpp), and 256 MB of memory. Its output is logged. finishScripts() interrupts it. One
/// thread at a time, which should be that of a job of dispatchScript().
/// Errors have the domain "lua", the status of the protected call as code and Lua's message as
/// description, with a traceback for errors at run time.
class Script {
public:
    /// Reads and compiles the file, which must be text. Does not run it.
    static Result<Script> load(const QString& path);
    ~Script();
    Script(Script&&) noexcept;
    Script& operator=(Script&&) noexcept;

    /// Runs the top level, then calls the global function `name` with the UTF-8 of `arguments`.
    /// Returns a description of what the function returned.
    Result<QString> executeHandler(const QString& name, const QStringList& arguments);

    /// Runs the top level only. Returns a description of what it returned.
    Result<QString> execute();

private:
    struct State;
    explicit Script(std::unique_ptr<State> state);

    std::unique_ptr<State> m_state;
};

} // namespace platform
