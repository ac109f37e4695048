#pragma once

#include "platform/store/StoreLock.h"
#include "platform/store/StoreReader.h"

#include <QByteArrayView>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace platform {

/// An open store file, and the lock on its folder. Owned by its coordinator. Main thread.
class XmlStore {
public:
    /// Reads the file at `path`, or makes an empty one. Null with `error` set when that fails; a
    /// file that is there has then not been touched.
    static std::unique_ptr<XmlStore> open(
        const QString& path, const ManagedObjectModel& model, Error& error);

    /// What the file held when it was opened, to the first who asks; nullopt after that.
    std::optional<StoreContents> takeContents();

    /// Replaces the file by one with the texts of these objects.
    [[nodiscard]] std::optional<Error> write(
        const std::vector<QByteArrayView>& objects, qint64 nextID) const;

private:
    XmlStore(QString path, const ManagedObjectModel& model, StoreLock lock);

    std::optional<Error> load();

    QString m_path;
    const ManagedObjectModel& m_model;
    StoreLock m_lock;
    std::optional<StoreContents> m_contents;
};

} // namespace platform
