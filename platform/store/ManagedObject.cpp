#include "platform/store/ManagedObject.h"

#include "platform/store/ManagedObjectContext.h"
#include "platform/store/ManagedObjectModel.h"
#include "platform/store/StoreDate.h"

#include <algorithm>
#include <utility>

namespace platform {

namespace {

bool hasType(const AttributeValue& value, AttributeType type)
{
    switch (type) {
    case AttributeType::String:
        return std::holds_alternative<QString>(value);
    case AttributeType::Integer32:
        return std::holds_alternative<int>(value);
    case AttributeType::Boolean:
        return std::holds_alternative<bool>(value);
    case AttributeType::Date:
        return std::holds_alternative<QDateTime>(value);
    }
    return false;
}

bool isStorable(const QDateTime& date)
{
    const qint64 instant = date.toMSecsSinceEpoch();
    return date.isValid() && instant >= firstStoreDate && instant <= lastStoreDate;
}

void normalise(AttributeValue& value)
{
    if (auto* const date = std::get_if<QDateTime>(&value)) {
        Q_ASSERT(isStorable(*date));
        if (date->timeSpec() != Qt::UTC) {
            *date = date->toUTC();
        }
    }
}

} // namespace

ManagedObject::ManagedObject(const EntityDescription& entity)
    : m_entity(&entity)
    , m_values(std::make_unique<AttributeValue[]>(entity.attributes.size()))
{
}

ManagedObject::~ManagedObject() = default;

void ManagedObject::setValue(int attribute, AttributeValue value)
{
    const bool isDeletedFromStore = isDeleted() && m_objectID.number != 0;
    normalise(value);
    if (isDeletedFromStore || value == primitiveValue(attribute)) {
        return;
    }
    AttributeValue oldValue = primitiveValue(attribute);
    setPrimitiveValue(attribute, std::move(value));
    if (m_context != nullptr) {
        m_context->didSetValue(*this, attribute, std::move(oldValue));
    }
    notify(attribute);
}

void ManagedObject::setPrimitiveValue(int attribute, AttributeValue value)
{
    const auto index = static_cast<std::size_t>(attribute);
    Q_ASSERT(index < m_entity->attributes.size());
    Q_ASSERT(std::holds_alternative<std::monostate>(value)
        || hasType(value, m_entity->attributes[index].type));
    normalise(value);
    m_values[index] = std::move(value);
}

std::set<QString> ManagedObject::keyPathsForValuesAffectingValueForKey(const QString&) const
{
    return {};
}

std::vector<int> ManagedObject::attributesAffecting(const QString& key) const
{
    std::set<QString> keys{ key };
    std::vector<QString> unvisited{ key };
    std::vector<int> attributes;
    while (!unvisited.empty()) {
        const QString next = std::move(unvisited.back());
        unvisited.pop_back();
        if (const int attribute = m_entity->indexOf(next); attribute >= 0) {
            attributes.push_back(attribute);
        }
        for (const QString& affecting : keyPathsForValuesAffectingValueForKey(next)) {
            if (keys.insert(affecting).second) {
                unvisited.push_back(affecting);
            }
        }
    }
    return attributes;
}

Observation ManagedObject::observe(const QString& key, std::function<void()> observer)
{
    if (!m_observers) {
        m_observers = std::make_unique<Observers<int>>();
    }
    return m_observers->add(
        [attributes = attributesAffecting(key), observer = std::move(observer)](int changed) {
            const bool isAffected = changed == everyAttribute
                || std::find(attributes.begin(), attributes.end(), changed) != attributes.end();
            if (isAffected) {
                observer();
            }
        });
}

void ManagedObject::notify(int attribute)
{
    if (m_observers) {
        const std::shared_ptr<ManagedObject> keptAlive = weak_from_this().lock();
        m_observers->notify(attribute);
    }
}

} // namespace platform
