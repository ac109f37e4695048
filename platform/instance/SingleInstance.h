#pragma once

#include <functional>
#include <memory>

namespace platform {

/// One running program for each session bus, by ownership of its well-known name. Main thread.
class SingleInstance {
public:
    /// Owns the name, or there is no bus to own it on (then the lock on the data folder decides).
    /// Null when another process owns it: it has been asked to come to the front, and this one
    /// should end.
    /// `reopen` is called when a later start hands over to this one.
    static std::unique_ptr<SingleInstance> claim(std::function<void()> reopen);
    ~SingleInstance();

private:
    SingleInstance();
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace platform
