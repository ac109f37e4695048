#include "platform/store/UndoRecorder.h"

#include <QCoreApplication>
#include <QScopedValueRollback>
#include <QUndoCommand>

#include <algorithm>
#include <iterator>

namespace platform {

/// The changes of a step. The stack merges a later command of the same step into it, so that
/// there is never an open macro of ours that would keep the user from undoing.
class UndoRecorder::Command : public QUndoCommand {
public:
    Command(UndoRecorder& recorder, int step, ObjectChange change)
        : m_recorder(recorder)
        , m_step(step)
    {
        m_changes.push_back(std::move(change));
    }

    /// The stack merges commands of one identity only; the program may have some of its own.
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
        // The stack redoes what is pushed; it has been done.
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
    if (m_endsLater || QCoreApplication::instance() == nullptr) {
        return;
    }
    m_endsLater = true;
    const auto end = [this] {
        m_endsLater = false;
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

std::shared_ptr<void> UndoRecorder::observe(std::function<void()> observer)
{
    std::erase_if(m_observers, [](const auto& known) { return known.expired(); });
    auto shared = std::make_shared<std::function<void()>>(std::move(observer));
    m_observers.push_back(shared);
    return shared;
}

// Called when the stack has come to another step, which is after the whole of a macro.
void UndoRecorder::notify()
{
    if (!std::exchange(m_hasReplayed, false)) {
        return;
    }
    const auto observers = m_observers;
    for (const auto& weakObserver : observers) {
        if (const auto observer = weakObserver.lock()) {
            (*observer)();
        }
    }
}

} // namespace platform
