#pragma once

#include "platform/services/Result.h"

#include <QString>

#include <memory>

namespace platform {

class ManagedObjectModel;
class XmlStore;

/// Connects a model to the store file with its objects. Main thread.
class PersistentStoreCoordinator {
public:
    explicit PersistentStoreCoordinator(const ManagedObjectModel& model); ///< borrows the model
    ~PersistentStoreCoordinator();
    PersistentStoreCoordinator(const PersistentStoreCoordinator&) = delete;
    PersistentStoreCoordinator& operator=(const PersistentStoreCoordinator&) = delete;

    /// Opens the XML store at `path`, or creates an empty one there. To be called once. Holds a
    /// lock on the store's folder until destruction. Fails, without a change to the file, when
    /// another process holds the lock, or when the file cannot be read, is not a complete store, or
    /// comes from a newer model with entities or attributes that this one lacks.
    Result<void> addXmlStore(const QString& path);

    const ManagedObjectModel& model() const { return m_model; }

private:
    friend class ManagedObjectContext;
    const ManagedObjectModel& m_model;
    std::unique_ptr<XmlStore> m_store;
};

} // namespace platform
