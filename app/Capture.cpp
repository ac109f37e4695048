#include "app/Capture.h"

#include "app/LinkRule.h"
#include "app/StoreStack.h"
#include "platform/services/AssertionFailure.h"
#include "platform/services/DurableFile.h"
#include "platform/services/Log.h"
#include "platform/store/ManagedObjectContext.h"
#include "platform/store/ManagedObjectModel.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImageWriter>
#include <QPainter>
#include <QUndoStack>
#include <QUuid>

#include <array>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

/// The indexes of the attributes in the entity, in the order of the model.
enum Attribute { CaptureImageKey, CaptureType, CaptureValue, DateCaptured, IsURL, Notes };

constexpr qint32 storedCaptureType = 1;

void requireContext(const platform::ManagedObjectContext* context, int line)
{
    if (context == nullptr) {
        throw platform::AssertionFailure(
            "_Capture", line, u"Invalid parameter not satisfying: moc_"_s);
    }
}

/// JPEG has no transparency: transparent pixels become white.
QImage onWhite(const QImage& image)
{
    if (!image.hasAlphaChannel()) {
        return image;
    }
    QImage opaque(image.size(), QImage::Format_RGB32);
    opaque.fill(Qt::white);
    QPainter(&opaque).drawImage(0, 0, image);
    return opaque;
}

QByteArray jpegData(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "jpeg");
    return writer.write(onWhite(image)) ? bytes : QByteArray();
}

/// A failure is ignored: the record then has no picture.
void writePicture(const QString& path, const QByteArray& bytes)
{
    const std::array<QByteArrayView, 1> parts{ QByteArrayView(bytes) };
    static_cast<void>(platform::writeDurably(path, parts));
}

/// Removes a picture, and writes it again on undo.
class RemovePicture : public QUndoCommand {
public:
    explicit RemovePicture(const QString& path)
        : m_path(path)
    {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly)) {
            m_bytes = file.readAll();
        }
    }

    void redo() override { QFile::remove(m_path); }
    void undo() override
    {
        if (!m_bytes.isEmpty()) {
            writePicture(m_path, m_bytes);
        }
    }

private:
    QString m_path;
    QByteArray m_bytes;
};

template <typename T> T valueOr(const platform::AttributeValue& value, T absent)
{
    const T* present = std::get_if<T>(&value);
    return present != nullptr ? *present : absent;
}

platform::ManagedObjectContext* sharedContext()
{
    return StoreStack::shared().managedObjectContext();
}

} // namespace

QString Capture::entityName()
{
    return u"Capture"_s;
}

std::shared_ptr<Capture> Capture::insertInManagedObjectContext(
    platform::ManagedObjectContext* context)
{
    requireContext(context, 12);
    return std::static_pointer_cast<Capture>(context->insertObject(entityName()));
}

const platform::EntityDescription* Capture::entityInManagedObjectContext(
    platform::ManagedObjectContext* context)
{
    requireContext(context, 21);
    return context->entity(entityName());
}

QString Capture::captureImageKey() const
{
    return valueOr(value(CaptureImageKey), QString());
}

void Capture::setCaptureImageKey(const QString& key)
{
    setValue(CaptureImageKey, key);
}

QString Capture::captureValue() const
{
    return valueOr(value(CaptureValue), QString());
}

void Capture::setCaptureValue(const QString& value)
{
    setValue(CaptureValue, value);
}

QDateTime Capture::dateCaptured() const
{
    return valueOr(value(DateCaptured), QDateTime());
}

void Capture::setDateCaptured(const QDateTime& date)
{
    setValue(DateCaptured, date.toUTC());
}

std::optional<QString> Capture::notes() const
{
    const auto* notes = std::get_if<QString>(&value(Notes));
    return notes != nullptr ? std::optional(*notes) : std::nullopt;
}

void Capture::setNotes(const QString& notes)
{
    setValue(Notes, notes);
}

qint32 Capture::captureTypeValue() const
{
    return valueOr(value(CaptureType), 0);
}

void Capture::setCaptureTypeValue(qint32 value)
{
    setValue(CaptureType, value);
}

bool Capture::isURLValue() const
{
    return valueOr(value(IsURL), false);
}

void Capture::setIsURLValue(bool value)
{
    setValue(IsURL, value);
}

qint32 Capture::primitiveCaptureTypeValue() const
{
    return valueOr(primitiveValue(CaptureType), 0);
}

void Capture::setPrimitiveCaptureTypeValue(qint32 value)
{
    setPrimitiveValue(CaptureType, value);
}

bool Capture::primitiveIsURLValue() const
{
    return valueOr(primitiveValue(IsURL), false);
}

void Capture::setPrimitiveIsURLValue(bool value)
{
    setPrimitiveValue(IsURL, value);
}

std::set<QString> Capture::keyPathsForValuesAffectingValueForKey(const QString& key) const
{
    std::set<QString> keys = ManagedObject::keyPathsForValuesAffectingValueForKey(key);
    if (key == u"captureTypeValue"_s) {
        keys.insert(u"captureType"_s);
    }
    if (key == u"isURLValue"_s) {
        keys.insert(u"isURL"_s);
    }
    return keys;
}

QString Capture::getImageUrl() const
{
    const QDir folder(StoreStack::shared().applicationFilesDirectory());
    return folder.filePath(captureImageKey() + u".jpg"_s);
}

platform::ImageFile Capture::getImage() const
{
    return { getImageUrl() };
}

std::optional<CaptureList> Capture::getCaptures()
{
    const platform::ManagedObjectContext* context = sharedContext();
    if (context == nullptr) {
        return std::nullopt;
    }
    auto objects = context->execute({ entityName(), { { u"dateCaptured"_s, false } } });
    if (!objects) {
        platform::log(u"Error! %1"_s.arg(objects.error().localizedDescription));
        return std::nullopt;
    }
    CaptureList captures;
    captures.reserve(static_cast<qsizetype>(objects->size()));
    for (auto& object : *objects) {
        captures.append(std::static_pointer_cast<Capture>(std::move(object)));
    }
    return captures;
}

void Capture::storeCapture(const QImage& image, const QString& value)
{
    platform::ManagedObjectContext* context = sharedContext();
    if (context == nullptr) {
        return;
    }
    const auto capture = insertInManagedObjectContext(context);
    capture->setCaptureTypeValue(storedCaptureType);
    capture->setDateCaptured(QDateTime::currentDateTimeUtc());
    capture->setCaptureValue(value);
    capture->setIsURLValue(isUrl(capture->captureValue()));
    capture->setCaptureImageKey(QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper());
    if (const QByteArray bytes = jpegData(image); !bytes.isEmpty()) {
        writePicture(capture->getImageUrl(), bytes);
    }
    saveCapture();
}

void Capture::saveCapture()
{
    if (platform::ManagedObjectContext* context = sharedContext()) {
        static_cast<void>(context->save());
    }
}

void Capture::deleteCapture(const std::shared_ptr<Capture>& capture)
{
    platform::ManagedObjectContext* context = sharedContext();
    if (context == nullptr || capture == nullptr || capture->isDeleted()) {
        return;
    }
    QUndoStack& undo = context->undoManager();
    undo.beginMacro(u"Delete Capture"_s);
    undo.push(new RemovePicture(capture->getImageUrl()));
    context->deleteObject(*capture);
    undo.endMacro();
    saveCapture();
}

bool Capture::isUrl(const QString& text)
{
    return isLink(text);
}

} // namespace vellumcap
