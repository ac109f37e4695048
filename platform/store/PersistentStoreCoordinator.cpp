#include "platform/store/PersistentStoreCoordinator.h"

#include "platform/store/XmlStore.h"

namespace platform {

PersistentStoreCoordinator::PersistentStoreCoordinator(const ManagedObjectModel& model)
    : m_model(model)
{
}

PersistentStoreCoordinator::~PersistentStoreCoordinator() = default;

Result<void> PersistentStoreCoordinator::addXmlStore(const QString& path)
{
    Q_ASSERT(!m_store); // contexts keep a pointer to the store
    Result<std::unique_ptr<XmlStore>> store = XmlStore::open(path, m_model);
    if (!store) {
        return store.error();
    }
    m_store = *std::move(store);
    return {};
}

} // namespace platform
