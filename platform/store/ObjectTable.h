#pragma once

#include "platform/services/Result.h"
#include "platform/store/ManagedObject.h"

#include <QByteArray>
#include <QByteArrayView>

#include <memory>
#include <vector>

namespace platform {

/// The objects of a store in the order of their identities, which is that of insertion, and for
/// each its text in the store file. A save writes again only the texts of objects that have
/// changed and hands out the others as they were read.
class ObjectTable {
public:
    struct Row {
        std::shared_ptr<ManagedObject> object; ///< null while it is deleted
        qint64 id = 0;
        QByteArray block; ///< keeps the bytes of `text`, shared by many rows
        QByteArrayView text;
        bool isInFile = false; ///< as of the last save
        bool isChanged = false; ///< since the last save
    };

    /// For a reader: `id` is above all others, `text` lies in `block`.
    void appendFromFile(
        std::shared_ptr<ManagedObject> object, qint64 id, QByteArray block, QByteArrayView text);

    void insert(std::shared_ptr<ManagedObject> object); ///< its identity is above all others
    void remove(ManagedObjectID id);
    void restore(std::shared_ptr<ManagedObject> object); ///< at the place that it had
    void markChanged(ManagedObjectID id);

    const std::vector<Row>& rows() const { return m_rows; }
    bool hasChanges() const { return m_pendingCount != 0; }

    /// Brings the texts up to date. `StoreErrorCode::ValueMissing` when an object lacks a required
    /// value; then no text has changed.
    Result<void> updateTexts();
    /// The texts of all objects, those that adjoin in memory as one.
    std::vector<QByteArrayView> texts() const;
    /// What texts() returned is now in the file.
    void markSaved();

private:
    Row& row(ManagedObjectID id);
    template <typename Change> void change(Row& row, Change change);

    std::vector<Row> m_rows;
    qsizetype m_pendingCount = 0;
};

} // namespace platform
