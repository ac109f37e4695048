#include "platform/services/StandardFolders.h"

#include "platform/services/FileManager.h"

#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace platform::StandardFolders {
namespace {

// In the generic locations: Qt's locations for an application depend on the application's name.
QString ownFolder(QStandardPaths::StandardLocation location)
{
    return QStandardPaths::writableLocation(location) + u"/vellumcap"_s;
}

} // namespace

QString applicationSupport()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
}

QString caches()
{
    return ownFolder(QStandardPaths::GenericCacheLocation);
}

QString configuration()
{
    return ownFolder(QStandardPaths::GenericConfigLocation);
}

QString pictures()
{
    return QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
}

QString applicationScripts(Creation creation)
{
    QString path = configuration() + u"/scripts"_s;
    if (creation == Creation::Yes && !FileManager::createDirectory(path)) {
        return {};
    }
    return path;
}

} // namespace platform::StandardFolders
