#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace platform {

class ManagedObject;

enum class AttributeType { String, Integer32, Boolean, Date };

struct AttributeDescription {
    QString name;
    AttributeType type = AttributeType::String;
    bool optional = true;
};

/// One kind of object: its name and attributes, in the order of declaration, which is the order
/// of the values in a ManagedObject.
struct EntityDescription {
    QString name;
    std::vector<AttributeDescription> attributes;

    /// The index of the attribute of that name, or -1.
    int indexOf(QStringView attributeName) const;

    /// Makes an object of the program's class for this entity. If unset, it is a ManagedObject.
    std::function<std::shared_ptr<ManagedObject>(const EntityDescription&)> makeObject;
};

/// The entities and attributes of a store. Read from an XML resource:
/// <model name="..." version="N"><entity name="..."><attribute name="..." type="string|
/// integer32|boolean|date" optional="yes|no"/>...</entity>...</model>
class ManagedObjectModel {
public:
    /// Nullptr when the file is missing or is not a model.
    static std::unique_ptr<ManagedObjectModel> fromFile(const QString& path);

    const QString& name() const { return m_name; }
    int version() const { return m_version; }
    const EntityDescription* entity(QStringView name) const; ///< nullptr when there is none
    /// Sets the class of the objects of an entity. To be called before a store is opened.
    void setObjectFactory(QStringView entityName,
        std::function<std::shared_ptr<ManagedObject>(const EntityDescription&)> factory);

private:
    ManagedObjectModel() = default;

    QString m_name;
    int m_version = 0;
    std::vector<EntityDescription> m_entities;
};

} // namespace platform
