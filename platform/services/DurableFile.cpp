#include "platform/services/DurableFile.h"

#include "platform/services/FileDescriptor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

using Qt::StringLiterals::operator""_s;

namespace platform {

namespace {

constexpr auto temporaryPattern = ".unfinished-????????????????";

QByteArray temporaryName()
{
    return QByteArrayLiteral(".unfinished-")
        + QByteArray::number(QRandomGenerator::system()->generate64(), 16).rightJustified(16, '0');
}

QString advice(int code)
{
    switch (code) {
    case ENOSPC:
    case EDQUOT:
        return u"The disk is full. Free some space, then try again."_s;
    case EACCES:
    case EPERM:
        return u"You may not write to its folder. Change the folder's permissions, "
               "then try again."_s;
    case EROFS:
        return u"The disk can only be read. Make it writable, then try again."_s;
    case ENOENT:
    case ENOTDIR:
        return u"Its folder does not exist. Make the folder, then try again."_s;
    case EISDIR:
    case EEXIST:
    case ENOTEMPTY:
        return u"There is a folder of that name. Move it away, then try again."_s;
    case EFBIG:
        return u"The file would be larger than is allowed here."_s;
    default:
        return qt_error_string(code);
    }
}

Error writeError(const QString& path, int code)
{
    return { QLatin1StringView(posixErrorDomain), code,
        u"The file “%1” could not be written."_s.arg(path), advice(code) };
}

/// Zero or errno, like everything below.
int writeBatch(int descriptor, std::span<iovec> batch)
{
    while (!batch.empty()) {
        const ssize_t count = withoutInterruption(
            [&] { return ::writev(descriptor, batch.data(), static_cast<int>(batch.size())); });
        if (count < 0) {
            return errno;
        }
        if (count == 0) {
            return EIO; // no batch is empty, so this would go on for ever
        }
        auto written = static_cast<std::size_t>(count);
        while (!batch.empty() && written >= batch.front().iov_len) {
            written -= batch.front().iov_len;
            batch = batch.subspan(1);
        }
        if (written > 0) {
            iovec& rest = batch.front();
            rest.iov_base = static_cast<char*>(rest.iov_base) + written;
            rest.iov_len -= written;
        }
    }
    return 0;
}

int writeParts(int descriptor, std::span<const QByteArrayView> parts)
{
    std::array<iovec, 512> batch{}; // within any IOV_MAX
    std::size_t filled = 0;
    for (const QByteArrayView part : parts) {
        if (part.isEmpty()) {
            continue;
        }
        batch[filled++] = { const_cast<char*>(part.data()), static_cast<std::size_t>(part.size()) };
        if (filled == batch.size()) {
            if (const int code = writeBatch(descriptor, batch)) {
                return code;
            }
            filled = 0;
        }
    }
    return writeBatch(descriptor, std::span(batch).first(filled));
}

int flush(int descriptor)
{
    return withoutInterruption([&] { return ::fsync(descriptor); }) == 0 ? 0 : errno;
}

int flushFolder(int descriptor)
{
    const int code = flush(descriptor);
    return code == EINVAL ? 0 : code; // some file systems have nothing to flush in a folder
}

int writeWhole(int folder, const QByteArray& name, std::span<const QByteArrayView> parts)
{
    FileDescriptor file(withoutInterruption([&] {
        return ::openat(folder, name.constData(),
            O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    }));
    if (!file.isOpen()) {
        return errno;
    }
    int code = writeParts(file.get(), parts);
    if (code == 0) {
        code = flush(file.get());
    }
    const int closing = file.close();
    return code == 0 ? closing : code;
}

int replaceFile(int folder, const QByteArray& target, std::span<const QByteArrayView> parts)
{
    const QByteArray temporary = temporaryName();
    int code = writeWhole(folder, temporary, parts);
    if (code == 0 && ::renameat(folder, temporary.constData(), folder, target.constData()) != 0) {
        code = errno;
    }
    if (code != 0) {
        ::unlinkat(folder, temporary.constData(), 0);
        return code;
    }
    return flushFolder(folder);
}

} // namespace

std::optional<Error> writeDurably(const QString& path, std::span<const QByteArrayView> parts)
{
    const QFileInfo file(path);
    const QByteArray target = QFile::encodeName(file.fileName());
    if (target.isEmpty()) {
        return writeError(path, EISDIR);
    }
    const FileDescriptor folder(withoutInterruption([name = QFile::encodeName(file.path())] {
        return ::open(name.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }));
    if (!folder.isOpen()) {
        return writeError(path, errno);
    }
    if (const int code = replaceFile(folder.get(), target, parts)) {
        return writeError(path, code);
    }
    return std::nullopt;
}

void removeUnfinishedFiles(const QString& folder)
{
    const QDir directory(folder);
    const QStringList names = directory.entryList({ QLatin1StringView(temporaryPattern) },
        QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QString& name : names) {
        QFile::remove(directory.filePath(name));
    }
}

} // namespace platform
