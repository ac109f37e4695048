#include "platform/services/FileManager.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace platform::FileManager {

namespace {

/// The reason is that of errno.
Error fileError(int code, const QString& description)
{
    return { QString::fromLatin1(fileErrorDomain), code, description, qt_error_string(errno) };
}

Error creationError(const QString& path)
{
    return fileError(fileWriteUnknownError, u"The folder “%1” could not be created."_s.arg(path));
}

} // namespace

Result<bool> isDirectory(const QString& path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) == 0) {
        return S_ISDIR(status.st_mode);
    }
    return fileError(errno == ENOENT ? fileReadNoSuchFileError : fileReadUnknownError,
        u"The folder “%1” could not be read."_s.arg(path));
}

Result<void> createDirectory(const QString& path)
{
    // QDir::mkpath does not report why it failed.
    const QString whole = QDir::cleanPath(path);
    for (qsizetype end = whole.indexOf(u'/', 1);; end = whole.indexOf(u'/', end + 1)) {
        const QByteArray part = QFile::encodeName(end < 0 ? whole : whole.left(end));
        if (::mkdir(part.constData(), S_IRWXU) != 0 && errno != EEXIST) {
            return creationError(path);
        }
        if (end < 0) {
            break;
        }
    }
    errno = ENOTDIR; // unless isDir() fails for another reason, such as a broken link
    if (!QFileInfo(whole).isDir()) {
        return creationError(path);
    }
    return {};
}

} // namespace platform::FileManager
