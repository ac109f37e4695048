#pragma once

#include "platform/store/ManagedObject.h"
#include "platform/ui/ImageFile.h"

#include <QImage>
#include <QList>

#include <memory>
#include <optional>

namespace platform {
class ManagedObjectContext;
}

namespace vellumcap {

class Capture;
using CaptureID = platform::ManagedObjectID;
using CaptureList = QList<std::shared_ptr<Capture>>;

/// One code that the user keeps: its text, its date, the user's notes, and the key of its picture,
/// a JPEG file beside the store. The static functions store, list and delete captures in the
/// StoreStack. Main thread.
class Capture : public platform::ManagedObject {
public:
    using ManagedObject::ManagedObject;

    static QString entityName();
    /// A new capture in that context, which must not be null (AssertionFailure).
    static std::shared_ptr<Capture> insertInManagedObjectContext(
        platform::ManagedObjectContext* context);
    static const platform::EntityDescription* entityInManagedObjectContext(
        platform::ManagedObjectContext* context);

    QString captureImageKey() const; ///< an upper-case UUID, 36 characters
    void setCaptureImageKey(const QString& key);
    QString captureValue() const;
    void setCaptureValue(const QString& value);
    QDateTime dateCaptured() const;
    void setDateCaptured(const QDateTime& date);
    std::optional<QString> notes() const;
    void setNotes(const QString& notes);

    qint32 captureTypeValue() const;
    void setCaptureTypeValue(qint32 value);
    bool isURLValue() const;
    void setIsURLValue(bool value);

    /// The same two attributes, without notifying observers.
    qint32 primitiveCaptureTypeValue() const;
    void setPrimitiveCaptureTypeValue(qint32 value);
    bool primitiveIsURLValue() const;
    void setPrimitiveIsURLValue(bool value);

    std::set<QString> keyPathsForValuesAffectingValueForKey(const QString& key) const override;

    QString getImageUrl() const; ///< path of the picture, which may not exist
    platform::ImageFile getImage() const;

    /// All captures, newest first; nullopt when the store cannot be read.
    static std::optional<CaptureList> getCaptures();
    /// Stores a code: its record and its picture. Failures are silent; a record whose picture
    /// cannot be written stays without one. Windows call StoreStack::storeCapture() instead.
    static void storeCapture(const QImage& image, const QString& value);
    static void saveCapture(); ///< saves every pending change
    /// Removes the picture, then the record. One undo restores both.
    static void deleteCapture(const std::shared_ptr<Capture>& capture);
    static bool isUrl(const QString& text);
};

} // namespace vellumcap
