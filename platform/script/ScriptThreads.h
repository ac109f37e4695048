#pragma once

#include "platform/services/Dispatch.h"

#include <QString>

#include <chrono>

/// Where scripts run, and how they end with the program. Nothing can stop a script everywhere: it
/// may wait for a command or be deep in a search. So each has a thread of its own, and quitting
/// waits for none of them longer than its patience.
namespace platform {

/// Submits `job`, which is to run a script, to a thread of its own: a script that never ends
/// keeps no other from running. Jobs start in the order of submission, 32 at most at a time. What
/// a job holds is given up on its thread. Any thread.
void dispatchScript(Job job);

struct ScriptPatience {
    std::chrono::milliseconds untilInterrupted{ 1000 }; ///< for scripts to end by themselves
    std::chrono::milliseconds untilAbandoned{ 500 }; ///< for interrupted ones to let go
};

/// Ends all scripts. Those that still run after the first patience are interrupted and no other
/// begins; those that do not let go in time are left where they are, and never return to the
/// program. Called once, when the application goes, with its objects still there.
void finishScripts(const ScriptPatience& patience = {});

/// For the code that hands a thread over to a script.
namespace ScriptThreads {

/// Whether running scripts are to end. Any thread.
bool areInterrupted();

/// The time that a thread spends in a script. Its end is the way back into the program, where
/// a thread that was abandoned stops for good.
class InScript {
public:
    InScript();
    ~InScript();
    InScript(const InScript&) = delete;
    InScript& operator=(const InScript&) = delete;
};

/// Logs what a script says from within, unless it was abandoned.
void logFromScript(const QString& line);

} // namespace ScriptThreads

} // namespace platform
