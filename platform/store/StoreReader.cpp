#include "platform/store/StoreReader.h"

#include "platform/store/ManagedObjectModel.h"
#include "platform/store/StoreDate.h"
#include "platform/store/StoreError.h"
#include "platform/store/StoreFormat.h"
#include "platform/store/StoreText.h"

#include <QStringDecoder>

#include <algorithm>
#include <charconv>
#include <expat.h>
#include <string>
#include <string_view>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

constexpr qsizetype chunkSize = 1 << 20; // XML_Parse() takes an int

template <typename Number> std::optional<Number> parseNumber(std::string_view text)
{
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, code] = std::from_chars(text.data(), end, number);
    return code == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

QString fromUtf8(std::string_view text)
{
    if (text.starts_with("\xef\xbb\xbf")) {
        // Here U+FEFF is part of the text; QString::fromUtf8() would drop it.
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
        return decoder(QByteArrayView(text.data(), static_cast<qsizetype>(text.size())));
    }
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString quoted(std::string_view name)
{
    return u"“%1”"_s.arg(fromUtf8(name));
}

Error contentError(
    StoreErrorCode code, const QString& path, const QString& modelName, const QString& detail)
{
    switch (code) {
    case StoreErrorCode::NewerVersion:
        return storeError(code,
            u"The store file “%1” comes from a newer version of %2."_s.arg(path, modelName),
            u"Install the newer version to open it. The file has not been changed. (%1)"_s.arg(
                detail));
    case StoreErrorCode::OtherModel:
        return storeError(code, u"The file “%1” is not a store of %2."_s.arg(path, modelName),
            u"Move it away, then try again. The file has not been changed. (%1)"_s.arg(detail));
    default:
        return storeError(code, u"The store file “%1” is damaged."_s.arg(path),
            u"Put a backup copy in its place, or move it away to begin with an empty store. The "
            "file has not been changed. (%1)"_s.arg(detail));
    }
}

/// The attributes of an XML start tag, as expat gives them: names and values in turn, then null.
class TagAttributes {
public:
    explicit TagAttributes(const char** attributes)
        : m_attributes(attributes)
    {
        while (m_attributes[m_count * 2] != nullptr) {
            ++m_count;
        }
    }

    int count() const { return m_count; }

    /// Null when there is none of that name.
    const char* value(std::string_view name) const
    {
        for (int index = 0; index < m_count; ++index) {
            if (m_attributes[index * 2] == name) {
                return m_attributes[index * 2 + 1];
            }
        }
        return nullptr;
    }

    template <typename Number> std::optional<Number> number(std::string_view name) const
    {
        const char* const text = value(name);
        return text != nullptr ? parseNumber<Number>(text) : std::nullopt;
    }

private:
    const char** m_attributes;
    int m_count = 0;
};

/// The names of an entity in UTF-8, as in the file.
struct EntityNames {
    const EntityDescription* entity = nullptr;
    std::string name;
    std::vector<std::string> attributes;
};

class StoreReader {
public:
    StoreReader(const QByteArray& bytes, const ManagedObjectModel& model, const QString& path);

    Result<StoreContents> read();

private:
    enum class Level { Document, Store, Object, Attribute };

    static void startElement(void* reader, const char* name, const char** attributes);
    static void endElement(void* reader, const char* name);
    static void characters(void* reader, const char* text, int length);
    static void startDoctype(void* reader, const char*, const char*, const char*, int);

    void start(std::string_view name, const TagAttributes& attributes);
    void startStore(const TagAttributes& attributes);
    void startObject(const TagAttributes& attributes);
    void startAttribute(const TagAttributes& attributes);
    void endAttribute();
    void endObject();
    std::optional<AttributeValue> value(AttributeType type) const;
    const EntityNames* namesOf(const char* entity);

    void fail(const QString& detail, StoreErrorCode code = StoreErrorCode::Damaged);
    bool hasFailed() const { return m_error.has_value(); }

    const QByteArray m_bytes;
    const ManagedObjectModel& m_model;
    const QString m_path;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> m_parser;
    std::optional<Error> m_error;
    StoreContents m_contents;

    Level m_level = Level::Document;
    std::vector<std::unique_ptr<EntityNames>> m_names;
    const EntityNames* m_objectNames = nullptr;
    std::shared_ptr<ManagedObject> m_object;
    qint64 m_objectID = 0;
    qsizetype m_objectStart = 0;
    std::size_t m_attribute = 0;
    bool m_isEscaped = false;
    std::string m_text;
};

StoreReader::StoreReader(
    const QByteArray& bytes, const ManagedObjectModel& model, const QString& path)
    : m_bytes(bytes)
    , m_model(model)
    , m_path(path)
    , m_parser(XML_ParserCreate("UTF-8"), &XML_ParserFree)
{
    XML_SetUserData(m_parser.get(), this);
    XML_SetElementHandler(m_parser.get(), &startElement, &endElement);
    XML_SetCharacterDataHandler(m_parser.get(), &characters);
    // A document type could declare entities that expand without limit.
    XML_SetStartDoctypeDeclHandler(m_parser.get(), &startDoctype);
}

Result<StoreContents> StoreReader::read()
{
    qsizetype at = 0;
    bool isLast = false;
    while (!isLast && !hasFailed()) {
        const qsizetype length = std::min(chunkSize, m_bytes.size() - at);
        isLast = at + length == m_bytes.size();
        const XML_Status status = XML_Parse(m_parser.get(), m_bytes.constData() + at,
            static_cast<int>(length), isLast ? XML_TRUE : XML_FALSE);
        if (status != XML_STATUS_OK && !hasFailed()) {
            fail(QString::fromUtf8(XML_ErrorString(XML_GetErrorCode(m_parser.get()))));
        }
        at += length;
    }
    if (hasFailed()) {
        return *m_error;
    }
    return std::move(m_contents);
}

void StoreReader::fail(const QString& detail, StoreErrorCode code)
{
    const auto line = static_cast<qulonglong>(XML_GetCurrentLineNumber(m_parser.get()));
    m_error = contentError(code, m_path, m_model.name(), u"line %1: %2"_s.arg(line).arg(detail));
    XML_StopParser(m_parser.get(), XML_FALSE);
}

void StoreReader::startElement(void* reader, const char* name, const char** attributes)
{
    auto* const self = static_cast<StoreReader*>(reader);
    if (!self->hasFailed()) {
        self->start(name, TagAttributes(attributes));
    }
}

void StoreReader::endElement(void* reader, const char*)
{
    auto* const self = static_cast<StoreReader*>(reader);
    if (self->hasFailed()) {
        return;
    }
    if (self->m_level == Level::Attribute) {
        self->endAttribute();
    } else if (self->m_level == Level::Object) {
        self->endObject();
    }
}

void StoreReader::characters(void* reader, const char* text, int length)
{
    auto* const self = static_cast<StoreReader*>(reader);
    if (self->hasFailed()) {
        return;
    }
    const std::string_view data(text, static_cast<std::size_t>(length));
    if (self->m_level == Level::Attribute) {
        self->m_text += data;
    } else if (data.find_first_not_of(" \t\r\n") != std::string_view::npos) {
        self->fail(u"text outside of an attribute"_s);
    }
}

void StoreReader::startDoctype(void* reader, const char*, const char*, const char*, int)
{
    static_cast<StoreReader*>(reader)->fail(u"a document type, which no store has"_s);
}

void StoreReader::start(std::string_view name, const TagAttributes& attributes)
{
    if (m_level == Level::Document && name == "store") {
        startStore(attributes);
    } else if (m_level == Level::Store && name == "object") {
        startObject(attributes);
    } else if (m_level == Level::Object && name == "attribute") {
        startAttribute(attributes);
    } else {
        fail(u"an element %1 where none is expected"_s.arg(quoted(name)));
    }
}

void StoreReader::startStore(const TagAttributes& attributes)
{
    const std::optional<int> format = attributes.number<int>("format");
    if (!format || *format < 1) {
        return fail(u"a store without the number of its format"_s);
    }
    if (*format > storeFormatVersion) {
        return fail(u"format %1"_s.arg(*format), StoreErrorCode::NewerVersion);
    }
    const char* const model = attributes.value("model");
    const std::optional<int> modelVersion = attributes.number<int>("modelVersion");
    const std::optional<qint64> nextID = attributes.number<qint64>("nextId");
    if (model == nullptr || !modelVersion || !nextID || *nextID < 1 || attributes.count() != 4) {
        return fail(u"a store without its model or its next identity"_s);
    }
    if (fromUtf8(model) != m_model.name()) {
        return fail(u"the model %1"_s.arg(quoted(model)), StoreErrorCode::OtherModel);
    }
    if (*modelVersion > m_model.version()) {
        return fail(u"model version %1"_s.arg(*modelVersion), StoreErrorCode::NewerVersion);
    }
    m_contents.nextID = *nextID;
    m_level = Level::Store;
}

const EntityNames* StoreReader::namesOf(const char* entity)
{
    for (const auto& names : m_names) {
        if (names->name == entity) {
            return names.get();
        }
    }
    const EntityDescription* const description = m_model.entity(fromUtf8(entity));
    if (description == nullptr) {
        return nullptr;
    }
    auto names = std::make_unique<EntityNames>(EntityNames{ description, entity, {} });
    for (const AttributeDescription& attribute : description->attributes) {
        names->attributes.push_back(attribute.name.toStdString());
    }
    m_names.push_back(std::move(names));
    return m_names.back().get();
}

void StoreReader::startObject(const TagAttributes& attributes)
{
    const char* const entity = attributes.value("entity");
    const std::optional<qint64> id = attributes.number<qint64>("id");
    if (entity == nullptr || !id || attributes.count() != 2) {
        return fail(u"an object without its entity or identity"_s);
    }
    if (*id <= m_objectID || *id >= m_contents.nextID) {
        return fail(u"an object whose identity %1 is taken, or out of order"_s.arg(*id));
    }
    m_objectNames = namesOf(entity);
    if (m_objectNames == nullptr) {
        return fail(u"the entity %1"_s.arg(quoted(entity)), StoreErrorCode::NewerVersion);
    }
    const EntityDescription& description = *m_objectNames->entity;
    m_object = description.makeObject ? description.makeObject(description)
                                      : std::make_shared<ManagedObject>(description);
    m_objectID = *id;
    m_objectStart = XML_GetCurrentByteIndex(m_parser.get());
    m_attribute = 0;
    m_level = Level::Object;
}

void StoreReader::startAttribute(const TagAttributes& attributes)
{
    const char* const name = attributes.value("name");
    const char* const escape = attributes.value("escaped");
    if (name == nullptr || attributes.count() != (escape != nullptr ? 2 : 1)
        || (escape != nullptr && std::string_view(escape) != "yes")) {
        return fail(u"an attribute without its name"_s);
    }
    // Attributes are in the order of declaration unless a person has moved them.
    const std::vector<std::string>& names = m_objectNames->attributes;
    if (m_attribute >= names.size() || names[m_attribute] != name) {
        const auto found = std::find(names.begin(), names.end(), name);
        if (found == names.end()) {
            return fail(u"the attribute %1"_s.arg(quoted(name)), StoreErrorCode::NewerVersion);
        }
        m_attribute = static_cast<std::size_t>(found - names.begin());
    }
    m_isEscaped = escape != nullptr;
    m_text.clear();
    m_level = Level::Attribute;
}

void StoreReader::endAttribute()
{
    const AttributeDescription& attribute = m_objectNames->entity->attributes[m_attribute];
    const int index = static_cast<int>(m_attribute);
    if (!std::holds_alternative<std::monostate>(m_object->primitiveValue(index))) {
        return fail(u"a second %1"_s.arg(attribute.name));
    }
    std::optional<AttributeValue> read = value(attribute.type);
    if (!read) {
        return fail(u"a value of %1 that is of another kind"_s.arg(attribute.name));
    }
    m_object->setPrimitiveValue(index, *std::move(read));
    ++m_attribute;
    m_level = Level::Object;
}

std::optional<AttributeValue> StoreReader::value(AttributeType type) const
{
    if (type == AttributeType::String) {
        QString text = fromUtf8(m_text);
        return m_isEscaped ? unescaped(text) : std::optional<AttributeValue>(std::move(text));
    }
    if (m_isEscaped) {
        return std::nullopt;
    }
    if (type == AttributeType::Integer32) {
        return parseNumber<int>(m_text);
    }
    if (type == AttributeType::Date) {
        const std::optional<std::int64_t> instant = parseStoreDate(m_text);
        return instant
            ? std::optional<AttributeValue>(QDateTime::fromMSecsSinceEpoch(*instant, Qt::UTC))
            : std::nullopt;
    }
    if (m_text == "true" || m_text == "false") {
        return m_text == "true";
    }
    return std::nullopt;
}

void StoreReader::endObject()
{
    const std::vector<AttributeDescription>& attributes = m_objectNames->entity->attributes;
    for (std::size_t index = 0; index < attributes.size(); ++index) {
        if (!attributes[index].optional
            && std::holds_alternative<std::monostate>(
                m_object->primitiveValue(static_cast<int>(index)))) {
            return fail(u"an object without %1"_s.arg(attributes[index].name));
        }
    }
    qsizetype end = XML_GetCurrentByteIndex(m_parser.get());
    end += XML_GetCurrentByteCount(m_parser.get());
    if (end < m_bytes.size() && m_bytes[end] == '\n') {
        ++end;
    }
    m_contents.objects.appendFromFile(std::move(m_object), m_objectID, m_bytes,
        QByteArrayView(m_bytes).sliced(m_objectStart, end - m_objectStart));
    m_level = Level::Store;
}

} // namespace

Result<StoreContents> readStore(
    const QByteArray& bytes, const ManagedObjectModel& model, const QString& path)
{
    return StoreReader(bytes, model, path).read();
}

} // namespace platform
