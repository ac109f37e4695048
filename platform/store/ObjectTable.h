#pragma once

#include "platform/services/Result.h"
#include "platform/store/ManagedObject.h"

#include <QByteArray>
#include <QByteArrayView>

#include <memory>
#include <vector>

namespace platform {

/// The objects of a store in the order of insertion, which is that of their identities, each with
/// its text in the store file. A save formats only the texts of objects that have changed; the
/// others keep the bytes that were read.
class ObjectTable {
public:
    struct Row {
        std::shared_ptr<ManagedObject> object; ///< null while it is deleted
        qint64 id = 0;
        QByteArray block; ///< owns the bytes of `text`; shared by many rows
        QByteArrayView text;
        bool isInFile = false; ///< as of the last save
        bool isChanged = false; ///< since the last save
    };

    /// For a reader. `id` is greater than all others; `text` is part of `block`.
    void appendFromFile(
        std::shared_ptr<ManagedObject> object, qint64 id, QByteArray block, QByteArrayView text);

    void insert(std::shared_ptr<ManagedObject> object); ///< its identity is greater than all others
    void remove(ManagedObjectID id);
    void restore(std::shared_ptr<ManagedObject> object); ///< at its former position
    void markChanged(ManagedObjectID id);

    const std::vector<Row>& rows() const { return m_rows; }
    bool hasChanges() const { return m_pendingCount != 0; }

    /// Brings the texts up to date. `StoreErrorCode::ValueMissing` when an object lacks a required
    /// value; then no text has changed.
    Result<void> updateTexts();
    /// The texts of all objects. Texts that are adjacent in memory are one.
    std::vector<QByteArrayView> texts() const;
    /// To be called when the file has what texts() returned.
    void markSaved();

private:
    Row& row(ManagedObjectID id);
    template <typename Change> void change(Row& row, Change change);

    std::vector<Row> m_rows;
    qsizetype m_pendingCount = 0;
};

} // namespace platform
