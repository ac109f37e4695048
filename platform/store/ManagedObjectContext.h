#pragma once

#include "platform/services/Observers.h"
#include "platform/services/Result.h"
#include "platform/store/ManagedObject.h"

#include <QString>

#include <functional>
#include <memory>
#include <vector>

class QUndoStack;

namespace platform {

class PersistentStoreCoordinator;
struct ObjectChange;

struct SortDescriptor {
    QString key;
    bool ascending = true;
};

/// Requests all objects of an entity. Objects that compare equal keep the order of insertion.
struct FetchRequest {
    QString entityName;
    std::vector<SortDescriptor> sortDescriptors;
};

/// The objects of a store in memory, with the changes that are not saved yet. A store has one
/// context: a second one on the same coordinator, or one whose coordinator has no store, is empty
/// and cannot save. Objects that outlive their context count as deleted. Main thread.
class ManagedObjectContext {
public:
    explicit ManagedObjectContext(PersistentStoreCoordinator& coordinator); ///< borrows it
    ~ManagedObjectContext();
    ManagedObjectContext(const ManagedObjectContext&) = delete;
    ManagedObjectContext& operator=(const ManagedObjectContext&) = delete;

    const EntityDescription* entity(QStringView name) const; ///< nullptr when the model has none

    /// A new object of that entity, without values. Null for an unknown entity.
    std::shared_ptr<ManagedObject> insertObject(QStringView entityName);
    /// Has no effect on an object that is deleted already.
    void deleteObject(ManagedObject& object);

    using Objects = std::vector<std::shared_ptr<ManagedObject>>;
    /// `StoreErrorCode::UnknownName` for an unknown entity or key.
    Result<Objects> execute(const FetchRequest& request) const;

    bool hasChanges() const;
    /// Writes all changes; does nothing when there are none. On failure, such as a required
    /// attribute without a value, the changes stay pending.
    Result<void> save();

    /// Registers an editor, such as a text field, while the returned observation lives. `commit`
    /// moves the edited value into the object, or returns false to refuse.
    [[nodiscard]] Observation registerEditor(std::function<bool()> commit);
    /// Has the registered editors commit, in the order of registration, up to the first that
    /// refuses; then returns false.
    [[nodiscard]] bool commitEditing();

    /// Changes made in one turn of the event loop, or up to a save, are one step. The program may
    /// push commands of its own, and change objects within a macro: these changes are part of it.
    /// Saving keeps the steps.
    QUndoStack& undoManager();
    /// Calls `observer` after undo or redo has changed objects, while the returned observation
    /// lives.
    [[nodiscard]] Observation observeUndo(std::function<void()> observer);

private:
    friend class ManagedObject;
    struct State;
    void attach(ManagedObject& object, ManagedObjectID id);
    void didSetValue(ManagedObject& object, int attribute, AttributeValue oldValue);
    void reapply(const ObjectChange& change);
    void revert(const ObjectChange& change);

    std::unique_ptr<State> m_state;
};

} // namespace platform
