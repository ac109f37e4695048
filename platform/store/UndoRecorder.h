#pragma once

#include "platform/services/Observers.h"
#include "platform/store/ManagedObject.h"

#include <QUndoStack>

#include <functional>
#include <memory>
#include <vector>

namespace platform {

/// One change of an object.
struct ObjectChange {
    enum class Kind { Insert, Delete, SetValue };

    Kind kind = Kind::SetValue;
    std::shared_ptr<ManagedObject> object;
    int attribute = -1; ///< for SetValue only, as the values
    AttributeValue oldValue;
    AttributeValue newValue;
};

/// Puts the changes of objects on an undo stack. The changes of one turn of the event loop are one
/// step. Within a macro of the stack's user they are part of the macro. Main thread.
class UndoRecorder {
public:
    using Apply = std::function<void(const ObjectChange&)>;
    UndoRecorder(Apply reapply, Apply revert);

    /// Records a change that has been made. Ignores changes that observers make during undo or
    /// redo.
    void record(ObjectChange change);
    void endStep() { ++m_step; }

    QUndoStack& stack() { return m_stack; }
    [[nodiscard]] Observation observe(std::function<void()> observer);

private:
    class Command;
    void replay(const std::vector<ObjectChange>& changes, bool isUndo);
    void endStepLater();
    void notify();

    Apply m_reapply;
    Apply m_revert;
    Observers<> m_observers;
    int m_step = 0;
    bool m_willEndStep = false; ///< by a queued call
    bool m_isReplaying = false;
    bool m_hasReplayed = false; ///< since the last notification
    QUndoStack m_stack;
};

} // namespace platform
