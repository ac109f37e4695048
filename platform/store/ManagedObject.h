#pragma once

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

/// The identity of an object within its store: never reused, kept over restarts.
struct ManagedObjectID {
    qint64 number = 0;
    bool operator==(const ManagedObjectID&) const = default;
    bool operator<(ManagedObjectID other) const { return number < other.number; }
};

/// One record of the store. Owned by its context (and by the undo stack while it is deleted);
/// others hold a std::weak_ptr or borrow. Main thread.
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

    /// Notifying access: observers of the key, and of keys that depend on it, are told; the
    /// context has a change and an undo step. Setting an equal value is no change. A deleted
    /// object keeps the values that undo would bring back: it takes no others.
    const AttributeValue& value(int attribute) const { return primitiveValue(attribute); }
    void setValue(int attribute, AttributeValue value);

    /// Storage without notification, undo or change tracking. A value has its attribute's type.
    const AttributeValue& primitiveValue(int attribute) const
    {
        return m_values[static_cast<std::size_t>(attribute)];
    }
    void setPrimitiveValue(int attribute, AttributeValue value);

    /// The keys whose change is a change of `key` too. The base class knows of none.
    virtual std::set<QString> keyPathsForValuesAffectingValueForKey(const QString& key) const;

    using Observer = std::function<void()>;
    /// Calls `observer` after every change of `key`, or of a key that it depends on, while the
    /// returned token lives.
    [[nodiscard]] std::shared_ptr<void> observe(const QString& key, Observer observer);

private:
    friend class ManagedObjectContext;
    struct Observation;
    using Observations = std::vector<std::weak_ptr<Observation>>;

    void notify(int attribute);
    void notifyAll();
    template <typename Matches> void notifyMatching(Matches matches);
    std::vector<int> attributesAffecting(const QString& key) const;

    // A store holds very many objects: what few of them need costs each a pointer at most.
    const EntityDescription* m_entity;
    ManagedObjectContext* m_context = nullptr;
    ManagedObjectID m_objectID;
    std::unique_ptr<AttributeValue[]> m_values;
    std::unique_ptr<Observations> m_observations;
};

} // namespace platform
