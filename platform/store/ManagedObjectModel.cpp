#include "platform/store/ManagedObjectModel.h"

#include <QFile>
#include <QXmlStreamReader>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

std::optional<AttributeType> attributeType(QStringView name)
{
    if (name == QLatin1StringView("string")) {
        return AttributeType::String;
    }
    if (name == QLatin1StringView("integer32")) {
        return AttributeType::Integer32;
    }
    if (name == QLatin1StringView("boolean")) {
        return AttributeType::Boolean;
    }
    if (name == QLatin1StringView("date")) {
        return AttributeType::Date;
    }
    return std::nullopt;
}

/// Reads the elements of a model. Unexpected content is an error of the XML reader.
class ModelReader {
public:
    explicit ModelReader(QIODevice& device)
        : m_xml(&device)
    {
    }

    bool readModel(QString& name, int& version, std::vector<EntityDescription>& entities)
    {
        if (!m_xml.readNextStartElement() || m_xml.name() != QLatin1StringView("model")) {
            return false;
        }
        name = requiredAttribute(QLatin1StringView("name"));
        version = requiredAttribute(QLatin1StringView("version")).toInt();
        if (version < 1) {
            fail();
        }
        while (m_xml.readNextStartElement()) {
            entities.push_back(readEntity());
            refuseDuplicate(entities);
        }
        while (!m_xml.atEnd()) {
            m_xml.readNext();
        }
        return !m_xml.hasError() && !entities.empty();
    }

private:
    void fail() { m_xml.raiseError(u"This is no model."_s); }

    template <typename Description>
    void refuseDuplicate(const std::vector<Description>& descriptions)
    {
        const auto hasLastName = [&](const Description& description) {
            return description.name == descriptions.back().name;
        };
        if (std::any_of(descriptions.begin(), descriptions.end() - 1, hasLastName)) {
            fail();
        }
    }

    QString requiredAttribute(QLatin1StringView attribute)
    {
        QString value = m_xml.attributes().value(attribute).toString();
        if (value.isEmpty()) {
            fail();
        }
        return value;
    }

    EntityDescription readEntity()
    {
        if (m_xml.name() != QLatin1StringView("entity")) {
            fail();
        }
        EntityDescription entity;
        entity.name = requiredAttribute(QLatin1StringView("name"));
        while (m_xml.readNextStartElement()) {
            entity.attributes.push_back(readAttribute());
            refuseDuplicate(entity.attributes);
        }
        return entity;
    }

    AttributeDescription readAttribute()
    {
        const std::optional<AttributeType> type
            = attributeType(requiredAttribute(QLatin1StringView("type")));
        const QStringView optional = m_xml.attributes().value(QLatin1StringView("optional"));
        AttributeDescription attribute{ requiredAttribute(QLatin1StringView("name")),
            type.value_or(AttributeType::String), optional != QLatin1StringView("no") };
        if (m_xml.name() != QLatin1StringView("attribute") || !type
            || (!optional.isEmpty() && optional != QLatin1StringView("yes")
                && optional != QLatin1StringView("no"))) {
            fail();
        }
        if (m_xml.readNextStartElement()) {
            fail();
        }
        return attribute;
    }

    QXmlStreamReader m_xml;
};

} // namespace

int EntityDescription::indexOf(QStringView attributeName) const
{
    const auto found = std::find_if(attributes.begin(), attributes.end(),
        [&](const AttributeDescription& attribute) { return attribute.name == attributeName; });
    return found == attributes.end() ? -1 : static_cast<int>(found - attributes.begin());
}

std::unique_ptr<ManagedObjectModel> ManagedObjectModel::fromFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return nullptr;
    }
    std::unique_ptr<ManagedObjectModel> model(new ManagedObjectModel);
    ModelReader reader(file);
    if (!reader.readModel(model->m_name, model->m_version, model->m_entities)) {
        return nullptr;
    }
    return model;
}

const EntityDescription* ManagedObjectModel::entity(QStringView name) const
{
    const auto found = std::find_if(m_entities.begin(), m_entities.end(),
        [&](const EntityDescription& entity) { return entity.name == name; });
    return found == m_entities.end() ? nullptr : &*found;
}

void ManagedObjectModel::setObjectFactory(QStringView entityName,
    std::function<std::shared_ptr<ManagedObject>(const EntityDescription&)> factory)
{
    for (EntityDescription& entity : m_entities) {
        if (entity.name == entityName) {
            entity.makeObject = std::move(factory);
            return;
        }
    }
    Q_ASSERT_X(false, "setObjectFactory", "the model has no such entity");
}

} // namespace platform
