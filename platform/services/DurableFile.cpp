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

using namespace Qt::StringLiterals;

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

/// Writes one file in a folder. Every error names the file's path.
class Writer {
public:
    explicit Writer(const QString& path)
        : m_path(path)
    {
    }

    Error error(int code) const
    {
        return posixError(code, u"The file “%1” could not be written."_s.arg(m_path), advice(code));
    }

    Result<void> replaceFile(
        int folder, const QByteArray& target, std::span<const QByteArrayView> parts) const
    {
        const QByteArray temporary = temporaryName();
        Result<void> replaced = writeFile(folder, temporary, parts);
        if (replaced
            && ::renameat(folder, temporary.constData(), folder, target.constData()) != 0) {
            replaced = error(errno);
        }
        if (!replaced) {
            ::unlinkat(folder, temporary.constData(), 0);
            return replaced;
        }
        return flushFolder(folder);
    }

private:
    Result<void> writeFile(
        int folder, const QByteArray& name, std::span<const QByteArrayView> parts) const
    {
        FileDescriptor file(withoutInterruption([&] {
            return ::openat(folder, name.constData(),
                O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
        }));
        if (!file.isOpen()) {
            return error(errno);
        }
        Result<void> written = writeParts(file.get(), parts);
        if (written) {
            written = flush(file.get());
        }
        const bool isClosed = file.close();
        if (written && !isClosed) {
            return error(errno);
        }
        return written;
    }

    Result<void> writeParts(int descriptor, std::span<const QByteArrayView> parts) const
    {
        std::array<iovec, 512> batch{}; // within any IOV_MAX
        std::size_t filled = 0;
        for (const QByteArrayView part : parts) {
            if (part.isEmpty()) {
                continue;
            }
            batch[filled++]
                = { const_cast<char*>(part.data()), static_cast<std::size_t>(part.size()) };
            if (filled == batch.size()) {
                if (Result<void> written = writeBatch(descriptor, batch); !written) {
                    return written;
                }
                filled = 0;
            }
        }
        return writeBatch(descriptor, std::span(batch).first(filled));
    }

    Result<void> writeBatch(int descriptor, std::span<iovec> batch) const
    {
        while (!batch.empty()) {
            const ssize_t count = withoutInterruption(
                [&] { return ::writev(descriptor, batch.data(), static_cast<int>(batch.size())); });
            if (count < 0) {
                return error(errno);
            }
            if (count == 0) {
                return error(EIO); // no part is empty, so the loop would not end
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
        return {};
    }

    Result<void> flush(int descriptor) const
    {
        if (withoutInterruption([&] { return ::fsync(descriptor); }) != 0) {
            return error(errno);
        }
        return {};
    }

    Result<void> flushFolder(int descriptor) const
    {
        Result<void> flushed = flush(descriptor);
        if (!flushed && flushed.error().code == EINVAL) {
            return {}; // the file system cannot flush folders
        }
        return flushed;
    }

    const QString& m_path;
};

} // namespace

Result<void> writeDurably(const QString& path, std::span<const QByteArrayView> parts)
{
    const Writer writer(path);
    const QFileInfo file(path);
    const QByteArray target = QFile::encodeName(file.fileName());
    if (target.isEmpty()) {
        return writer.error(EISDIR);
    }
    const FileDescriptor folder(withoutInterruption([name = QFile::encodeName(file.path())] {
        return ::open(name.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }));
    if (!folder.isOpen()) {
        return writer.error(errno);
    }
    return writer.replaceFile(folder.get(), target, parts);
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
