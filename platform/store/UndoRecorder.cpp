#include "platform/store/UndoRecorder.h"

#include <QCoreApplication>
#include <QScopedValueRollback>
#include <QUndoCommand>

#include <algorithm>
#include <iterator>

namespace platform {

/// The changes of a step. The stack merges a later command of the same step into it: an open macro
/// instead would disable undo until its end.
class UndoRecorder::Command : public QUndoCommand {
public:
    Command(UndoRecorder& recorder, int step, ObjectChange change)
        : m_recorder(recorder)
        , m_step(step)
    {
        m_changes.push_back(std::move(change));
    }

    /// The stack merges commands with equal ids only. The program's own commands have others.
    int id() const override { return 0x0b1ec7; }

    bool mergeWith(const QUndoCommand* other) override
    {
        const auto* const command = dynamic_cast<const Command*>(other);
        if (command == nullptr || &command->m_recorder != &m_recorder
            || command->m_step != m_step) {
            return false;
        }
        m_changes.insert(m_changes.end(), command->m_changes.begin(), command->m_changes.end());
        return true;
    }

    void undo() override { m_recorder.replay(m_changes, true); }

    void redo() override
    {
        // The stack calls redo() on push, but the change has been made already.
        if (std::exchange(m_isNew, false)) {
            return;
        }
        m_recorder.replay(m_changes, false);
    }

private:
    UndoRecorder& m_recorder;
    int m_step;
    bool m_isNew = true;
    std::vector<ObjectChange> m_changes;
};

UndoRecorder::UndoRecorder(Apply reapply, Apply revert)
    : m_reapply(std::move(reapply))
    , m_revert(std::move(revert))
{
    QObject::connect(&m_stack, &QUndoStack::indexChanged, &m_stack, [this] { notify(); });
}

void UndoRecorder::record(ObjectChange change)
{
    if (m_isReplaying) {
        return;
    }
    endStepLater();
    m_stack.push(std::make_unique<Command>(*this, m_step, std::move(change)).release());
}

void UndoRecorder::endStepLater()
{
    if (m_willEndStep || QCoreApplication::instance() == nullptr) {
        return;
    }
    m_willEndStep = true;
    const auto end = [this] {
        m_willEndStep = false;
        endStep();
    };
    QMetaObject::invokeMethod(&m_stack, end, Qt::QueuedConnection);
}

void UndoRecorder::replay(const std::vector<ObjectChange>& changes, bool isUndo)
{
    const QScopedValueRollback<bool> replaying(m_isReplaying, true);
    endStep();
    m_hasReplayed = true;
    if (isUndo) {
        std::for_each(changes.rbegin(), changes.rend(), m_revert);
    } else {
        std::for_each(changes.begin(), changes.end(), m_reapply);
    }
}

Observation UndoRecorder::observe(std::function<void()> observer)
{
    return m_observers.add(std::move(observer));
}

// The stack's index changes once per step, after all commands of a macro.
void UndoRecorder::notify()
{
    if (std::exchange(m_hasReplayed, false)) {
        m_observers.notify();
    }
}

} // namespace platform
