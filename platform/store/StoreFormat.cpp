#include "platform/store/StoreFormat.h"

#include "platform/store/ManagedObject.h"
#include "platform/store/ManagedObjectModel.h"
#include "platform/store/StoreDate.h"
#include "platform/store/StoreText.h"

namespace platform {

namespace {

/// Appends the start tag's end and the character data.
class ValueWriter {
public:
    explicit ValueWriter(QByteArray& output)
        : m_output(output)
    {
    }

    void operator()(std::monostate) const { }

    void operator()(const QString& text) const
    {
        if (needsEscape(text)) {
            m_output += " escaped=\"yes\">";
            appendXmlText(m_output, escaped(text));
        } else {
            m_output += '>';
            appendXmlText(m_output, text);
        }
    }

    void operator()(int number) const { m_output += '>' + QByteArray::number(number); }

    void operator()(bool isTrue) const { m_output += isTrue ? ">true" : ">false"; }

    void operator()(const QDateTime& date) const
    {
        const StoreDateText text = formatStoreDate(date.toMSecsSinceEpoch());
        m_output += '>';
        m_output.append(text.data(), static_cast<qsizetype>(text.size()));
    }

private:
    QByteArray& m_output;
};

QByteArray quoted(const QString& name)
{
    return '"' + name.toHtmlEscaped().toUtf8() + '"';
}

} // namespace

QByteArray storeHeader(const ManagedObjectModel& model, qint64 nextID)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<store format=\""
        + QByteArray::number(storeFormatVersion) + "\" model=" + quoted(model.name())
        + " modelVersion=\"" + QByteArray::number(model.version()) + "\" nextId=\""
        + QByteArray::number(nextID) + "\">\n";
}

QByteArray storeFooter()
{
    return QByteArrayLiteral("</store>\n");
}

void appendObject(QByteArray& output, const ManagedObject& object)
{
    const EntityDescription& entity = object.entity();
    output += "<object entity=" + quoted(entity.name) + " id=\""
        + QByteArray::number(object.objectID().number) + "\">\n";
    for (std::size_t index = 0; index < entity.attributes.size(); ++index) {
        const AttributeValue& value = object.primitiveValue(static_cast<int>(index));
        if (!std::holds_alternative<std::monostate>(value)) {
            output += "  <attribute name=" + quoted(entity.attributes[index].name);
            std::visit(ValueWriter(output), value);
            output += "</attribute>\n";
        }
    }
    output += "</object>\n";
}

} // namespace platform
