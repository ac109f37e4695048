#pragma once

#include "platform/store/ManagedObject.h"

#include <QUndoStack>

#include <functional>
#include <memory>
#include <vector>

namespace platform {

/// One thing that happened to an object.
struct ObjectChange {
    enum class Kind { Insert, Delete, SetValue };

    Kind kind = Kind::SetValue;
    std::shared_ptr<ManagedObject> object;
    int attribute = -1; ///< of SetValue, as are the values
    AttributeValue oldValue;
    AttributeValue newValue;
};

/// Puts the changes of objects on an undo stack, those of one turn of the event loop as one step.
/// Within a macro of the stack's user they are part of the macro. Main thread.
class UndoRecorder {
public:
    using Apply = std::function<void(const ObjectChange&)>;
    UndoRecorder(Apply reapply, Apply revert);

    /// Records what has just been done. Changes that are made while a step is undone or redone,
    /// by an observer, are no step.
    void record(ObjectChange change);
    void endStep() { ++m_step; }

    QUndoStack& stack() { return m_stack; }
    [[nodiscard]] std::shared_ptr<void> observe(std::function<void()> observer);

private:
    class Command;
    void replay(const std::vector<ObjectChange>& changes, bool isUndo);
    void endStepLater();
    void notify();

    Apply m_reapply;
    Apply m_revert;
    std::vector<std::weak_ptr<std::function<void()>>> m_observers;
    int m_step = 0;
    bool m_endsLater = false;
    bool m_isReplaying = false;
    bool m_hasReplayed = false; ///< and the observers have not been told
    QUndoStack m_stack;
};

} // namespace platform
