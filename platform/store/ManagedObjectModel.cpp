#include "platform/store/ManagedObjectModel.h"

#include <QFile>
#include <QXmlStreamReader>

#include <algorithm>

namespace platform {

namespace {

using Qt::StringLiterals::operator""_L1;
using Qt::StringLiterals::operator""_s;

std::optional<AttributeType> attributeType(QStringView name)
{
    if (name == "string"_L1) {
        return AttributeType::String;
    }
    if (name == "integer32"_L1) {
        return AttributeType::Integer32;
    }
    if (name == "boolean"_L1) {
        return AttributeType::Boolean;
    }
    if (name == "date"_L1) {
        return AttributeType::Date;
    }
    return std::nullopt;
}

/// Reads the elements of a model; whatever it does not expect is an error of the reader.
class ModelReader {
public:
    explicit ModelReader(QIODevice& device)
        : m_xml(&device)
    {
    }

    bool readModel(QString& name, int& version, std::vector<EntityDescription>& entities)
    {
        if (!m_xml.readNextStartElement() || m_xml.name() != "model"_L1) {
            return false;
        }
        name = requiredAttribute("name"_L1);
        version = requiredAttribute("version"_L1).toInt();
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
        if (m_xml.name() != "entity"_L1) {
            fail();
        }
        EntityDescription entity;
        entity.name = requiredAttribute("name"_L1);
        while (m_xml.readNextStartElement()) {
            entity.attributes.push_back(readAttribute());
            refuseDuplicate(entity.attributes);
        }
        return entity;
    }

    AttributeDescription readAttribute()
    {
        const std::optional<AttributeType> type = attributeType(requiredAttribute("type"_L1));
        const QStringView optional = m_xml.attributes().value("optional"_L1);
        AttributeDescription attribute{ requiredAttribute("name"_L1),
            type.value_or(AttributeType::String), optional != "no"_L1 };
        if (m_xml.name() != "attribute"_L1 || !type
            || (!optional.isEmpty() && optional != "yes"_L1 && optional != "no"_L1)) {
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
