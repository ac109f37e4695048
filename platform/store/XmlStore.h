#pragma once

#include "platform/services/Result.h"
#include "platform/store/StoreLock.h"
#include "platform/store/StoreReader.h"

#include <QByteArrayView>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace platform {

/// An open store file with the lock on its folder. Owned by its coordinator. Main thread.
class XmlStore {
public:
    /// Locks the folder of `path`, then reads the file, or creates one without objects. An existing
    /// file is never changed. Borrows the model.
    static Result<std::unique_ptr<XmlStore>> open(
        const QString& path, const ManagedObjectModel& model);

    /// The contents of the file at opening. Nullopt from the second call on.
    std::optional<StoreContents> takeContents();

    /// Replaces the file, durably, by one with the texts of these objects.
    Result<void> write(const std::vector<QByteArrayView>& objects, qint64 nextID) const;

private:
    XmlStore(QString path, const ManagedObjectModel& model, StoreLock lock);

    Result<void> load();

    QString m_path;
    const ManagedObjectModel& m_model;
    StoreLock m_lock;
    std::optional<StoreContents> m_contents;
};

} // namespace platform
