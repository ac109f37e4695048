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
using CaptureList = QList<std::shared_ptr<Capture>>; ///< shared by those who show it

/// One code that the user keeps: its text, when it was kept, the user's notes, and the key of its
/// picture, a JPEG file beside the store. Everybody stores, lists and deletes captures through
/// the class operations here, which reach the store through the application delegate. Main thread.
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

    /// The same two over the storage that notifies nobody.
    qint32 primitiveCaptureTypeValue() const;
    void setPrimitiveCaptureTypeValue(qint32 value);
    bool primitiveIsURLValue() const;
    void setPrimitiveIsURLValue(bool value);

    std::set<QString> keyPathsForValuesAffectingValueForKey(const QString& key) const override;

    QString getImageUrl() const; ///< path of the picture; whether it exists is not checked
    platform::ImageFile getImage() const;

    /// All captures, newest first; nullopt when the store cannot be read.
    static std::optional<CaptureList> getCaptures();
    /// Keeps a code: the record and its picture. Failures are silent; without its picture a
    /// record stays a record.
    static void storeCapture(const QImage& image, const QString& value);
    static void saveCapture(); ///< saves every pending change
    /// Removes the picture, then the record. One undo brings both back.
    static void deleteCapture(const std::shared_ptr<Capture>& capture);
    static bool isUrl(const QString& text);
};

} // namespace vellumcap
