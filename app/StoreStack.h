#pragma once

#include "platform/store/ManagedObjectModel.h"

#include <QString>

#include <functional>
#include <memory>

class QImage;

namespace platform {
class ManagedObjectContext;
class PersistentStoreCoordinator;
} // namespace platform

namespace vellumcap {

/// The program's store: model, coordinator and context, built on the first request for the
/// context. A failure is shown to the user, and the next request tries again. The application
/// delegate derives from it. Main thread.
class StoreStack {
public:
    virtual ~StoreStack();
    StoreStack(const StoreStack&) = delete;
    StoreStack& operator=(const StoreStack&) = delete;

    /// The store stack of the shared application's delegate.
    static StoreStack& shared();

    /// The folder that holds the store and the pictures; not created here.
    QString applicationFilesDirectory() const;
    platform::ManagedObjectModel* managedObjectModel(); ///< nullptr on failure, as the next two
    platform::PersistentStoreCoordinator* persistentStoreCoordinator();
    platform::ManagedObjectContext* managedObjectContext();
    /// The context if it was built already; never builds it, so no error is shown.
    platform::ManagedObjectContext* builtContext() const { return m_managedObjectContext.get(); }

    /// Stores a code with its picture, then refreshes the journal's lists. What windows call to
    /// keep a code; failures are those of Capture::storeCapture().
    virtual void storeCapture(const QImage& image, const QString& value) = 0;

protected:
    using MakeObject = std::function<std::shared_ptr<platform::ManagedObject>(
        const platform::EntityDescription&)>;

    /// `makeCapture` makes the objects of the entity "Capture".
    explicit StoreStack(MakeObject makeCapture);

private:
    /// Makes the folder if it is missing; false when that failed and the error has been shown.
    bool prepareFilesDirectory();

    MakeObject m_makeCapture;
    std::unique_ptr<platform::ManagedObjectModel> m_managedObjectModel;
    std::unique_ptr<platform::PersistentStoreCoordinator> m_persistentStoreCoordinator;
    std::unique_ptr<platform::ManagedObjectContext> m_managedObjectContext;
};

} // namespace vellumcap
