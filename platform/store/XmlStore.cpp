#include "platform/store/XmlStore.h"

#include "platform/services/DurableFile.h"
#include "platform/store/ManagedObjectModel.h"
#include "platform/store/StoreFormat.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

Error readError(const QString& path, int code)
{
    const QString reason = code == EISDIR
        ? u"There is a folder of that name, or something else that is no file. Move it away, "
          "then try again."_s
        : qt_error_string(code);
    return posixError(code, u"The store file “%1” could not be read."_s.arg(path), reason);
}

/// Nullopt when there is no file.
Result<std::optional<QByteArray>> readFile(const QString& path)
{
    // Without O_NONBLOCK, opening a named pipe would block.
    const FileDescriptor file(withoutInterruption([name = QFile::encodeName(path)] {
        return ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    }));
    if (!file.isOpen() && errno == ENOENT) {
        return std::optional<QByteArray>();
    }
    struct stat status { };
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
        return readError(path, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return readError(path, EISDIR);
    }
    QByteArray bytes(static_cast<qsizetype>(status.st_size), Qt::Uninitialized);
    qsizetype length = 0;
    while (length < bytes.size()) {
        const ssize_t count = withoutInterruption([&] {
            return ::read(
                file.get(), bytes.data() + length, static_cast<std::size_t>(bytes.size() - length));
        });
        if (count < 0) {
            return readError(path, errno);
        }
        if (count == 0) {
            break;
        }
        length += static_cast<qsizetype>(count);
    }
    bytes.truncate(length);
    return std::optional(bytes);
}

} // namespace

XmlStore::XmlStore(QString path, const ManagedObjectModel& model, StoreLock lock)
    : m_path(std::move(path))
    , m_model(model)
    , m_lock(std::move(lock))
{
}

Result<std::unique_ptr<XmlStore>> XmlStore::open(
    const QString& path, const ManagedObjectModel& model)
{
    const QFileInfo file(path);
    Result<StoreLock> lock = StoreLock::take(file.absolutePath());
    if (!lock) {
        return lock.error();
    }
    removeUnfinishedFiles(file.absolutePath());
    std::unique_ptr<XmlStore> store(new XmlStore(file.absoluteFilePath(), model, *std::move(lock)));
    if (const Result<void> loaded = store->load(); !loaded) {
        return loaded.error();
    }
    return store;
}

Result<void> XmlStore::load()
{
    const Result<std::optional<QByteArray>> bytes = readFile(m_path);
    if (!bytes) {
        return bytes.error();
    }
    if (!bytes->has_value()) {
        m_contents.emplace();
        return write({}, m_contents->nextID);
    }
    Result<StoreContents> contents = readStore(**bytes, m_model, m_path);
    if (!contents) {
        return contents.error();
    }
    m_contents = *std::move(contents);
    return {};
}

std::optional<StoreContents> XmlStore::takeContents()
{
    return std::exchange(m_contents, std::nullopt);
}

Result<void> XmlStore::write(const std::vector<QByteArrayView>& objects, qint64 nextID) const
{
    const QByteArray header = storeHeader(m_model, nextID);
    const QByteArray footer = storeFooter();
    std::vector<QByteArrayView> parts;
    parts.reserve(objects.size() + 2);
    parts.emplace_back(header);
    parts.insert(parts.end(), objects.begin(), objects.end());
    parts.emplace_back(footer);
    return writeDurably(m_path, parts);
}

} // namespace platform
