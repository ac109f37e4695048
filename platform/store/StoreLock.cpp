#include "platform/store/StoreLock.h"

#include "platform/store/StoreError.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

Error folderError(const QString& folder, int code)
{
    if (code == ENOTDIR) {
        return posixError(code, u"“%1” is not a folder."_s.arg(folder),
            u"The store is kept in a folder of that name. Move what is there away, then try "
            "again."_s);
    }
    return posixError(
        code, u"The folder “%1” could not be opened."_s.arg(folder), qt_error_string(code));
}

Error lockError(const QString& folder, int code)
{
    if (code == EWOULDBLOCK) {
        return storeError(StoreErrorCode::InUse,
            u"The store in “%1” is in use by another running program."_s.arg(folder),
            u"Quit the other program, then try again."_s);
    }
    return posixError(code, u"The folder “%1” could not be locked."_s.arg(folder),
        u"Without the lock, two programs could overwrite each other's changes. Keep "
        "the folder on "
        "a disk that supports locks. (%1)"_s.arg(qt_error_string(code)));
}

} // namespace

Result<StoreLock> StoreLock::take(const QString& folder)
{
    FileDescriptor descriptor(withoutInterruption([name = QFile::encodeName(folder)] {
        return ::open(name.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }));
    if (!descriptor.isOpen()) {
        return folderError(folder, errno);
    }
    if (withoutInterruption([&] { return ::flock(descriptor.get(), LOCK_EX | LOCK_NB); }) != 0) {
        return lockError(folder, errno);
    }
    return StoreLock(std::move(descriptor));
}

} // namespace platform
