#pragma once

#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace platform {

/// Requests to the program over the session bus.
struct InstanceRequests {
    std::function<void()> reopen; ///< the program was started again, or its icon was used
    std::function<void(const QString& name)>
        performAction; ///< of its launcher; the name may be unknown
    std::function<void(const QVariantMap& arguments)> watch; ///< see ScriptingInterface.h
};

/// Ensures one running program per session bus, by ownership of a bus name. Main thread.
class SingleInstance {
public:
    /// Claims the name. Null when another process owns it; that process has been told to reopen,
    /// and this one must end. Without a bus the claim succeeds, and the lock on the data folder
    /// decides. The event loop calls `requests`, first for calls that made the bus start this
    /// process.
    static std::unique_ptr<SingleInstance> claim(InstanceRequests requests);
    ~SingleInstance();

private:
    SingleInstance();
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace platform
