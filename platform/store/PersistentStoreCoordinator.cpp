#include "platform/store/PersistentStoreCoordinator.h"

#include "platform/store/XmlStore.h"

namespace platform {

PersistentStoreCoordinator::PersistentStoreCoordinator(const ManagedObjectModel& model)
    : m_model(model)
{
}

PersistentStoreCoordinator::~PersistentStoreCoordinator() = default;

std::optional<Error> PersistentStoreCoordinator::addXmlStore(const QString& path)
{
    Q_ASSERT(!m_store); // a context would lose the one that it reads from
    Error error;
    std::unique_ptr<XmlStore> store = XmlStore::open(path, m_model, error);
    if (!store) {
        return error;
    }
    m_store = std::move(store);
    return std::nullopt;
}

} // namespace platform
