#include "platform/store/ObjectTable.h"

#include "platform/store/ManagedObjectModel.h"
#include "platform/store/StoreError.h"
#include "platform/store/StoreFormat.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

constexpr qsizetype blockSize = 1 << 20;

bool isPending(const ObjectTable::Row& row)
{
    return row.object ? !row.isInFile || row.isChanged : row.isInFile;
}

bool needsText(const ObjectTable::Row& row)
{
    return row.object && (row.text.isEmpty() || row.isChanged);
}

Result<void> checkRequiredValues(const ManagedObject& object)
{
    const std::vector<AttributeDescription>& attributes = object.entity().attributes;
    for (std::size_t index = 0; index < attributes.size(); ++index) {
        if (!attributes[index].optional
            && std::holds_alternative<std::monostate>(
                object.primitiveValue(static_cast<int>(index)))) {
            return storeError(StoreErrorCode::ValueMissing,
                u"The changes could not be saved: a %1 has no %2."_s.arg(
                    object.entity().name, attributes[index].name),
                u"This is a fault of the program. Delete the entry, or undo, then save again."_s);
        }
    }
    return {};
}

/// Collects texts in one block of memory. The rows get their views when the block has its final
/// address.
class BlockWriter {
public:
    void append(ObjectTable::Row& row)
    {
        const qsizetype start = m_block.size();
        appendObject(m_block, *row.object);
        m_texts.push_back({ &row, start, m_block.size() - start });
        if (m_block.size() >= blockSize) {
            finish();
        }
    }

    void finish()
    {
        m_block.squeeze();
        for (const Text& text : m_texts) {
            text.row->block = m_block;
            text.row->text = QByteArrayView(m_block).sliced(text.start, text.length);
        }
        m_texts.clear();
        m_block = {};
    }

private:
    struct Text {
        ObjectTable::Row* row;
        qsizetype start;
        qsizetype length;
    };

    QByteArray m_block;
    std::vector<Text> m_texts;
};

} // namespace

void ObjectTable::appendFromFile(
    std::shared_ptr<ManagedObject> object, qint64 id, QByteArray block, QByteArrayView text)
{
    Q_ASSERT(m_rows.empty() || m_rows.back().id < id);
    m_rows.push_back({ std::move(object), id, std::move(block), text, true, false });
}

void ObjectTable::insert(std::shared_ptr<ManagedObject> object)
{
    const qint64 id = object->objectID().number;
    Q_ASSERT(m_rows.empty() || m_rows.back().id < id);
    m_rows.push_back({ std::move(object), id, {}, {}, false, false });
    ++m_pendingCount;
}

// The row of a deleted object stays, so that deleting and undoing move no other rows.
void ObjectTable::remove(ManagedObjectID id)
{
    change(row(id), [](Row& row) { row.object.reset(); });
}

void ObjectTable::restore(std::shared_ptr<ManagedObject> object)
{
    const ManagedObjectID id = object->objectID();
    change(row(id), [&](Row& row) { row.object = std::move(object); });
}

void ObjectTable::markChanged(ManagedObjectID id)
{
    change(row(id), [](Row& row) { row.isChanged = true; });
}

ObjectTable::Row& ObjectTable::row(ManagedObjectID id)
{
    const auto found = std::lower_bound(m_rows.begin(), m_rows.end(), id.number,
        [](const Row& row, qint64 number) { return row.id < number; });
    Q_ASSERT(found != m_rows.end() && found->id == id.number);
    return *found;
}

template <typename Change> void ObjectTable::change(Row& row, Change change)
{
    m_pendingCount -= isPending(row) ? 1 : 0;
    change(row);
    m_pendingCount += isPending(row) ? 1 : 0;
}

Result<void> ObjectTable::updateTexts()
{
    for (const Row& row : m_rows) {
        if (needsText(row)) {
            if (Result<void> checked = checkRequiredValues(*row.object); !checked) {
                return checked;
            }
        }
    }
    BlockWriter writer;
    for (Row& row : m_rows) {
        if (needsText(row)) {
            writer.append(row);
        }
    }
    writer.finish();
    return {};
}

std::vector<QByteArrayView> ObjectTable::texts() const
{
    std::vector<QByteArrayView> runs;
    for (const Row& row : m_rows) {
        if (!row.object) {
            continue;
        }
        if (!runs.empty() && runs.back().end() == row.text.begin()) {
            runs.back() = QByteArrayView(runs.back().begin(), row.text.end());
        } else {
            runs.push_back(row.text);
        }
    }
    return runs;
}

void ObjectTable::markSaved()
{
    for (Row& row : m_rows) {
        row.isInFile = row.object != nullptr;
        row.isChanged = false;
        if (!row.object) {
            row.block = {};
            row.text = {};
        }
    }
    m_pendingCount = 0;
}

} // namespace platform
