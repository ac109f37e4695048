#include "tests/support/Program.h"

#include "app/Resources.h"
#include "platform/services/StandardFolders.h"
#include "platform/store/ManagedObjectContext.h"

#include <QApplication>
#include <QDir>
#include <QUuid>

#include <ctime>

using namespace Qt::StringLiterals;

namespace support {

Program::Program(Start start, Data data)
{
    vellumcap::loadResources();
    if (data == Data::Fresh) {
        QFile::remove(dataFolder());
        QDir(dataFolder()).removeRecursively();
    }
    platform::Application::shared().setDelegate(&m_delegate);
    if (start == Start::Launched) {
        m_delegate.applicationDidFinishLaunching();
    }
}

Program::~Program()
{
    // Windows use the store through the application's delegate while they are destroyed.
    QCoreApplication::sendPostedEvents();
}

QString Program::dataFolder()
{
    return platform::StandardFolders::applicationSupport() + u"/Vellumcap"_s;
}

QString Program::storePath()
{
    return dataFolder() + u"/Vellumcap.storedata"_s;
}

QStringList Program::pictures()
{
    return QDir(dataFolder()).entryList({ u"*.jpg"_s }, QDir::Files, QDir::Name);
}

std::shared_ptr<vellumcap::Capture> Program::keep(const QString& text, const QDateTime& moment)
{
    auto* context = m_delegate.managedObjectContext();
    auto capture = vellumcap::Capture::insertInManagedObjectContext(context);
    capture->setCaptureTypeValue(1);
    capture->setCaptureValue(text);
    capture->setDateCaptured(moment);
    capture->setIsURLValue(vellumcap::Capture::isUrl(text));
    capture->setCaptureImageKey(QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper());
    plainPicture().save(capture->getImageUrl());
    vellumcap::Capture::saveCapture();
    if (m_delegate.journalWindow() != nullptr) {
        m_delegate.journalWindow()->refreshLists();
    }
    return capture;
}

QImage plainPicture(Qt::GlobalColor color, QSize size)
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(color);
    return picture;
}

TimeZone::TimeZone(const char* name)
{
    qputenv("TZ", name);
    tzset();
}

TimeZone::~TimeZone()
{
    qputenv("TZ", "UTC");
    tzset();
}

} // namespace support
