#pragma once

#include "platform/services/Error.h"
#include "platform/store/ManagedObject.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QUndoStack;

namespace platform {

class PersistentStoreCoordinator;
struct ObjectChange;

struct SortDescriptor {
    QString key;
    bool ascending = true;
};

/// Asks for all objects of an entity. Objects that sort alike keep the store's order, which is
/// the order of insertion.
struct FetchRequest {
    QString entityName;
    std::vector<SortDescriptor> sortDescriptors;
};

/// The objects of a store in memory, with the changes that are not saved yet. A store feeds one
/// context: a second one on the same coordinator, or one whose coordinator has no store, is empty
/// and cannot save. Objects that outlive their context are as if deleted. Main thread.
class ManagedObjectContext {
public:
    explicit ManagedObjectContext(PersistentStoreCoordinator& coordinator); ///< borrows it
    ~ManagedObjectContext();
    ManagedObjectContext(const ManagedObjectContext&) = delete;
    ManagedObjectContext& operator=(const ManagedObjectContext&) = delete;

    const EntityDescription* entity(QStringView name) const; ///< nullptr when the model has none

    /// A new object of that entity, with every attribute absent. Null for an unknown entity.
    std::shared_ptr<ManagedObject> insertObject(QStringView entityName);
    /// Nothing happens to an object that is deleted already.
    void deleteObject(ManagedObject& object);

    using Objects = std::vector<std::shared_ptr<ManagedObject>>;
    /// Nullopt for an unknown entity or key; then `error` says why.
    std::optional<Objects> execute(const FetchRequest& request, Error* error = nullptr) const;

    bool hasChanges() const;
    /// Writes all changes. On failure they stay pending; a required attribute without a value is
    /// one. Writes nothing when nothing has changed.
    [[nodiscard]] std::optional<Error> save();

    /// A field that is being edited registers what moves its text into the object; false refuses.
    using Editor = std::function<bool()>;
    [[nodiscard]] std::shared_ptr<void> registerEditor(Editor commit);
    /// Asks every registered editor to commit. False as soon as one refuses.
    [[nodiscard]] bool commitEditing();

    /// Changes made in one turn of the event loop, or up to a save, are one step. The program may
    /// push commands of its own, and change objects within a macro: these changes are part of it.
    /// Saving leaves the steps as they are.
    QUndoStack& undoManager();
    /// Calls `observer` after undo or redo has changed objects, while the returned token lives.
    [[nodiscard]] std::shared_ptr<void> observeUndo(std::function<void()> observer);

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
