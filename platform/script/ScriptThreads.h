#pragma once

#include "platform/services/Dispatch.h"

#include <QString>

#include <chrono>

/// Threads of scripts, and their end when the program quits. A script cannot be stopped in every
/// place: it may wait for a command or be inside a long search. So each has a thread of its own,
/// and quitting waits for them only for a limited time.
namespace platform {

/// Submits `job`, which runs a script, to a thread of its own, so that a script that never ends
/// does not block others. Jobs start in the order of submission, at most 32 at a time. A job is
/// destroyed on the thread that ran it. Any thread.
void dispatchScript(Job job);

struct ScriptTimeouts {
    std::chrono::milliseconds untilInterrupted{ 1000 }; ///< for scripts to end by themselves
    std::chrono::milliseconds untilAbandoned{ 500 }; ///< for interrupted scripts to end
};

/// Ends all scripts. After the first timeout, running scripts are interrupted and no other starts.
/// After the second, threads that are still in a script are abandoned: they never return to the
/// program. Called once, when the application ends, while its objects still exist.
void finishScripts(const ScriptTimeouts& timeouts = {});

/// For the code that runs a script.
namespace ScriptThreads {

/// Whether running scripts must end. Any thread.
bool areInterrupted();

/// Exists while a thread runs a script. The destructor, on the way back into the program, never
/// returns on an abandoned thread.
class InScript {
public:
    InScript();
    ~InScript();
    InScript(const InScript&) = delete;
    InScript& operator=(const InScript&) = delete;
};

/// Logs a line that a script printed, unless scripts have been abandoned.
void logFromScript(const QString& line);

} // namespace ScriptThreads

} // namespace platform
