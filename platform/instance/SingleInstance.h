#pragma once

#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace platform {

/// What is asked of the program over the session bus.
struct InstanceRequests {
    std::function<void()> reopen; ///< it was started again, or its icon was used
    std::function<void(const QString& name)> performAction; ///< of its launcher; may be unknown
    std::function<void(const QVariantMap& arguments)> watch; ///< see ScriptingInterface.h
};

/// One running program for each session bus, by ownership of its well-known name. Main thread.
class SingleInstance {
public:
    /// Owns the name, or there is no bus to own it on (then the lock on the data folder decides).
    /// Null when another process owns it: it has been asked to come to the front, and this one
    /// should end.
    /// Requests are made by the event loop, those first that made the bus start this process.
    static std::unique_ptr<SingleInstance> claim(InstanceRequests requests);
    ~SingleInstance();

private:
    SingleInstance();
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace platform
