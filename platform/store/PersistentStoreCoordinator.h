#pragma once

#include "platform/services/Error.h"

#include <QString>

#include <memory>
#include <optional>

namespace platform {

class ManagedObjectModel;
class XmlStore;

/// Ties a model to the store file that holds its objects. Main thread.
class PersistentStoreCoordinator {
public:
    explicit PersistentStoreCoordinator(const ManagedObjectModel& model); ///< borrows the model
    ~PersistentStoreCoordinator();
    PersistentStoreCoordinator(const PersistentStoreCoordinator&) = delete;
    PersistentStoreCoordinator& operator=(const PersistentStoreCoordinator&) = delete;

    /// Opens the XML store at `path`, or makes an empty one there. Takes the lock on the store's
    /// folder for as long as this lives. Fails, leaving the file untouched, when another process
    /// holds the lock, the file cannot be read, is not a whole store, or comes from a newer model
    /// with entities or attributes that this one does not know.
    [[nodiscard]] std::optional<Error> addXmlStore(const QString& path);

    const ManagedObjectModel& model() const { return m_model; }

private:
    friend class ManagedObjectContext;
    const ManagedObjectModel& m_model;
    std::unique_ptr<XmlStore> m_store;
};

} // namespace platform
