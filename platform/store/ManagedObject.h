#pragma once

#include "platform/services/Observers.h"

#include <QDateTime>
#include <QString>

#include <functional>
#include <memory>
#include <set>
#include <variant>
#include <vector>

namespace platform {

struct EntityDescription;
class ManagedObjectContext;

/// The value of an attribute; monostate when absent. Dates are UTC, to the millisecond.
using AttributeValue = std::variant<std::monostate, QString, int, bool, QDateTime>;

/// The identity of an object within its store. Never reused; the same after a restart.
struct ManagedObjectID {
    qint64 number = 0;
    bool operator==(const ManagedObjectID&) const = default;
    bool operator<(ManagedObjectID other) const { return number < other.number; }
};

/// One record of the store. Owned by its context, or by the undo stack while it is deleted. Main
/// thread.
class ManagedObject : public std::enable_shared_from_this<ManagedObject> {
public:
    explicit ManagedObject(const EntityDescription& entity);
    virtual ~ManagedObject();
    ManagedObject(const ManagedObject&) = delete;
    ManagedObject& operator=(const ManagedObject&) = delete;

    const EntityDescription& entity() const { return *m_entity; }
    ManagedObjectID objectID() const { return m_objectID; }
    ManagedObjectContext* managedObjectContext() const { return m_context; } ///< null once deleted
    bool isDeleted() const { return m_context == nullptr; }

    /// Access with notification: setting another value calls the observers of the key and of keys
    /// that depend on it, marks the context as changed and makes an undo step. An object that was
    /// deleted from a context ignores new values, so that undo restores the old ones.
    const AttributeValue& value(int attribute) const { return primitiveValue(attribute); }
    void setValue(int attribute, AttributeValue value);

    /// Access without notification, undo or change tracking. A value has its attribute's type.
    const AttributeValue& primitiveValue(int attribute) const
    {
        return m_values[static_cast<std::size_t>(attribute)];
    }
    void setPrimitiveValue(int attribute, AttributeValue value);

    /// The keys whose change is also a change of `key`. None in the base class.
    virtual std::set<QString> keyPathsForValuesAffectingValueForKey(const QString& key) const;

    /// Calls `observer` after every change of `key`, or of a key that it depends on, while the
    /// returned observation lives. It may release the last reference to this object.
    [[nodiscard]] Observation observe(const QString& key, std::function<void()> observer);

private:
    friend class ManagedObjectContext;
    static constexpr int everyAttribute = -1;

    void notify(int attribute);
    std::vector<int> attributesAffecting(const QString& key) const;

    // A store has very many objects, so what few of them need is behind one pointer.
    const EntityDescription* m_entity;
    ManagedObjectContext* m_context = nullptr;
    ManagedObjectID m_objectID;
    std::unique_ptr<AttributeValue[]> m_values;
    std::unique_ptr<Observers<int>> m_observers; ///< called with the changed attribute
};

} // namespace platform
