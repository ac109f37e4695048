#include "platform/store/ManagedObjectContext.h"

#include "platform/store/FetchSort.h"
#include "platform/store/ManagedObjectModel.h"
#include "platform/store/PersistentStoreCoordinator.h"
#include "platform/store/StoreError.h"
#include "platform/store/UndoRecorder.h"
#include "platform/store/XmlStore.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

Error unknownName(const QString& description)
{
    return storeError(StoreErrorCode::UnknownName, description);
}

std::shared_ptr<ManagedObject> makeObject(const EntityDescription& entity)
{
    return entity.makeObject ? entity.makeObject(entity) : std::make_shared<ManagedObject>(entity);
}

} // namespace

struct ManagedObjectContext::State {
    State(const ManagedObjectModel& objectModel, XmlStore* openStore, UndoRecorder::Apply reapply,
        UndoRecorder::Apply revert)
        : model(objectModel)
        , store(openStore)
        , undo(std::move(reapply), std::move(revert))
    {
    }

    const ManagedObjectModel& model;
    XmlStore* store; ///< null without a store that these objects come from
    ObjectTable objects;
    qint64 nextID = 1;
    Observers<bool&> editors; ///< skip their commit once the argument is false
    UndoRecorder undo;
};

ManagedObjectContext::ManagedObjectContext(PersistentStoreCoordinator& coordinator)
    : m_state(std::make_unique<State>(
        coordinator.model(), coordinator.m_store.get(),
        [this](const ObjectChange& change) { reapply(change); },
        [this](const ObjectChange& change) { revert(change); }))
{
    std::optional<StoreContents> contents
        = m_state->store != nullptr ? m_state->store->takeContents() : std::nullopt;
    if (!contents) {
        m_state->store = nullptr;
        return;
    }
    m_state->objects = std::move(contents->objects);
    m_state->nextID = contents->nextID;
    for (const ObjectTable::Row& row : m_state->objects.rows()) {
        attach(*row.object, { row.id });
    }
}

ManagedObjectContext::~ManagedObjectContext()
{
    for (const ObjectTable::Row& row : m_state->objects.rows()) {
        if (row.object) {
            row.object->m_context = nullptr;
        }
    }
}

const EntityDescription* ManagedObjectContext::entity(QStringView name) const
{
    return m_state->model.entity(name);
}

void ManagedObjectContext::attach(ManagedObject& object, ManagedObjectID id)
{
    object.m_objectID = id;
    object.m_context = this;
}

std::shared_ptr<ManagedObject> ManagedObjectContext::insertObject(QStringView entityName)
{
    const EntityDescription* const description = entity(entityName);
    if (description == nullptr) {
        return nullptr;
    }
    std::shared_ptr<ManagedObject> object = makeObject(*description);
    attach(*object, { m_state->nextID++ });
    m_state->objects.insert(object);
    m_state->undo.record({ ObjectChange::Kind::Insert, object, -1, {}, {} });
    return object;
}

void ManagedObjectContext::deleteObject(ManagedObject& object)
{
    if (object.isDeleted()) {
        return;
    }
    Q_ASSERT(object.managedObjectContext() == this);
    const ObjectChange change{ ObjectChange::Kind::Delete, object.shared_from_this(), -1, {}, {} };
    reapply(change);
    m_state->undo.record(change);
}

void ManagedObjectContext::didSetValue(
    ManagedObject& object, int attribute, AttributeValue oldValue)
{
    m_state->objects.markChanged(object.objectID());
    m_state->undo.record({ ObjectChange::Kind::SetValue, object.shared_from_this(), attribute,
        std::move(oldValue), object.primitiveValue(attribute) });
}

void ManagedObjectContext::reapply(const ObjectChange& change)
{
    switch (change.kind) {
    case ObjectChange::Kind::Insert:
        attach(*change.object, change.object->objectID());
        m_state->objects.restore(change.object);
        change.object->notify(ManagedObject::everyAttribute);
        break;
    case ObjectChange::Kind::Delete:
        m_state->objects.remove(change.object->objectID());
        change.object->m_context = nullptr;
        break;
    case ObjectChange::Kind::SetValue:
        change.object->setValue(change.attribute, change.newValue);
        break;
    }
}

void ManagedObjectContext::revert(const ObjectChange& change)
{
    switch (change.kind) {
    case ObjectChange::Kind::Insert:
        reapply({ ObjectChange::Kind::Delete, change.object, -1, {}, {} });
        break;
    case ObjectChange::Kind::Delete:
        reapply({ ObjectChange::Kind::Insert, change.object, -1, {}, {} });
        break;
    case ObjectChange::Kind::SetValue:
        change.object->setValue(change.attribute, change.oldValue);
        break;
    }
}

Result<ManagedObjectContext::Objects> ManagedObjectContext::execute(
    const FetchRequest& request) const
{
    const EntityDescription* const description = entity(request.entityName);
    if (description == nullptr) {
        return unknownName(u"There is no entity “%1”."_s.arg(request.entityName));
    }
    for (const SortDescriptor& descriptor : request.sortDescriptors) {
        if (description->indexOf(descriptor.key) < 0) {
            return unknownName(u"The entity “%1” has no attribute “%2” to sort by."_s.arg(
                request.entityName, descriptor.key));
        }
    }
    Objects objects;
    objects.reserve(m_state->objects.rows().size());
    for (const ObjectTable::Row& row : m_state->objects.rows()) {
        if (row.object && &row.object->entity() == description) {
            objects.push_back(row.object);
        }
    }
    const auto sortBy = [&](const SortDescriptor& descriptor) {
        const int attribute = description->indexOf(descriptor.key);
        sortByAttribute(objects, attribute,
            description->attributes[static_cast<std::size_t>(attribute)].type,
            descriptor.ascending);
    };
    // The sort is stable, so the first descriptor, which matters most, is sorted by last.
    std::for_each(request.sortDescriptors.rbegin(), request.sortDescriptors.rend(), sortBy);
    return objects;
}

bool ManagedObjectContext::hasChanges() const
{
    return m_state->objects.hasChanges();
}

Result<void> ManagedObjectContext::save()
{
    m_state->undo.endStep();
    if (!hasChanges()) {
        return {};
    }
    if (m_state->store == nullptr) {
        return storeError(StoreErrorCode::NoStore, u"There is no store to save to."_s,
            u"The changes are kept until the program ends, but not on the disk."_s);
    }
    if (Result<void> updated = m_state->objects.updateTexts(); !updated) {
        return updated;
    }
    Result<void> written = m_state->store->write(m_state->objects.texts(), m_state->nextID);
    if (written) {
        m_state->objects.markSaved();
    }
    return written;
}

Observation ManagedObjectContext::registerEditor(std::function<bool()> commit)
{
    return m_state->editors.add(
        [commit = std::move(commit)](bool& isCommitted) { isCommitted = isCommitted && commit(); });
}

bool ManagedObjectContext::commitEditing()
{
    bool isCommitted = true;
    m_state->editors.notify(isCommitted);
    return isCommitted;
}

QUndoStack& ManagedObjectContext::undoManager()
{
    return m_state->undo.stack();
}

Observation ManagedObjectContext::observeUndo(std::function<void()> observer)
{
    return m_state->undo.observe(std::move(observer));
}

} // namespace platform
