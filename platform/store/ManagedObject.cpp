#include "platform/store/ManagedObject.h"

#include "platform/store/ManagedObjectContext.h"
#include "platform/store/ManagedObjectModel.h"
#include "platform/store/StoreDate.h"

#include <algorithm>

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

struct ManagedObject::Observation {
    std::vector<int> attributes; ///< a change of any of them is told
    Observer observer;
};

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

std::shared_ptr<void> ManagedObject::observe(const QString& key, Observer observer)
{
    if (!m_observations) {
        m_observations = std::make_unique<Observations>();
    }
    std::erase_if(*m_observations, [](const auto& observation) { return observation.expired(); });
    auto observation = std::make_shared<Observation>(
        Observation{ attributesAffecting(key), std::move(observer) });
    m_observations->push_back(observation);
    return observation;
}

template <typename Matches> void ManagedObject::notifyMatching(Matches matches)
{
    if (!m_observations) {
        return;
    }
    // An observer may observe more, drop any token, or let go of this object.
    const std::shared_ptr<ManagedObject> keptAlive = weak_from_this().lock();
    const Observations observations = *m_observations;
    for (const std::weak_ptr<Observation>& weakObservation : observations) {
        const std::shared_ptr<Observation> observation = weakObservation.lock();
        if (observation && matches(*observation)) {
            observation->observer();
        }
    }
}

void ManagedObject::notify(int attribute)
{
    notifyMatching([attribute](const Observation& observation) {
        return std::find(observation.attributes.begin(), observation.attributes.end(), attribute)
            != observation.attributes.end();
    });
}

void ManagedObject::notifyAll()
{
    notifyMatching([](const Observation&) { return true; });
}

} // namespace platform
