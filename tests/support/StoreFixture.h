#pragma once

#include "platform/store/ManagedObjectContext.h"
#include "platform/store/ManagedObjectModel.h"
#include "platform/store/PersistentStoreCoordinator.h"

#include <QString>
#include <QTemporaryDir>

#include <memory>

namespace support {

/// The indexes of the attributes of the program's entity "Capture".
enum CaptureAttribute { ImageKey, Type, Value, Date, IsUrl, Notes };

/// The program's own model.
std::unique_ptr<platform::ManagedObjectModel> captureModel();

/// Inserts a capture with all required values.
std::shared_ptr<platform::ManagedObject> insertCapture(
    platform::ManagedObjectContext& context, const QString& text = QStringLiteral("text"));

/// A store of captures at `path`.
struct OpenStore {
    explicit OpenStore(const QString& path);

    std::unique_ptr<platform::ManagedObjectModel> model;
    platform::PersistentStoreCoordinator coordinator;
    platform::Result<void> opened;
    platform::ManagedObjectContext context;

    /// Why the store is not open; empty when it is.
    QString failure() const { return opened ? QString() : opened.error().failureReason; }
    /// All captures in the order of insertion.
    platform::ManagedObjectContext::Objects captures() const;
    std::vector<QString> texts() const;
};

QByteArray fileBytes(const QString& path);
void setFileBytes(const QString& path, const QByteArray& bytes);

} // namespace support
