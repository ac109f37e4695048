#include "tests/support/StoreFixture.h"

#include "app/Resources.h"

#include <QFile>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace support {

using platform::ManagedObject;
using platform::ManagedObjectContext;
using platform::ManagedObjectModel;

std::unique_ptr<ManagedObjectModel> captureModel()
{
    vellumcap::loadResources();
    auto model = ManagedObjectModel::fromFile(u":/Vellumcap.model"_s);
    if (!model) {
        qFatal("The program has no object model");
    }
    return model;
}

std::shared_ptr<ManagedObject> insertCapture(ManagedObjectContext& context, const QString& text)
{
    std::shared_ptr<ManagedObject> capture = context.insertObject(u"Capture");
    capture->setValue(ImageKey, QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper());
    capture->setValue(Type, 1);
    capture->setValue(Value, text);
    capture->setValue(Date, QDateTime::currentDateTimeUtc());
    capture->setValue(IsUrl, false);
    return capture;
}

OpenStore::OpenStore(const QString& path)
    : model(captureModel())
    , coordinator(*model)
    , opened(coordinator.addXmlStore(path))
    , context(coordinator)
{
}

ManagedObjectContext::Objects OpenStore::captures() const
{
    return context.execute({ u"Capture"_s, {} }).value();
}

std::vector<QString> OpenStore::texts() const
{
    std::vector<QString> texts;
    for (const auto& capture : captures()) {
        texts.push_back(std::get<QString>(capture->value(Value)));
    }
    return texts;
}

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void setFileBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

} // namespace support
