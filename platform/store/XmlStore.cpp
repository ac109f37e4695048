#include "platform/store/XmlStore.h"

#include "platform/services/DurableFile.h"
#include "platform/store/ManagedObjectModel.h"
#include "platform/store/StoreFormat.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>

using Qt::StringLiterals::operator""_s;

namespace platform {

namespace {

Error readError(const QString& path, int code)
{
    const QString reason = code == EISDIR
        ? u"There is a folder of that name, or something else that is no file. Move it away, "
          "then try again."_s
        : qt_error_string(code);
    return { QLatin1StringView(posixErrorDomain), code,
        u"The store file “%1” could not be read."_s.arg(path), reason };
}

Error contentError(const QString& path, const QString& modelName, const StoreReadFailure& failure)
{
    switch (failure.code) {
    case StoreErrorCode::NewerVersion:
        return storeError(failure.code,
            u"The store file “%1” comes from a newer version of %2."_s.arg(path, modelName),
            u"Install the newer version to open it. The file has not been changed. (%1)"_s.arg(
                failure.detail));
    case StoreErrorCode::OtherModel:
        return storeError(failure.code,
            u"The file “%1” is not a store of %2."_s.arg(path, modelName),
            u"Move it away, then try again. The file has not been changed. (%1)"_s.arg(
                failure.detail));
    default:
        return storeError(failure.code, u"The store file “%1” is damaged."_s.arg(path),
            u"Put a backup copy in its place, or move it away to begin with an empty store. The "
            "file has not been changed. (%1)"_s.arg(failure.detail));
    }
}

/// Zero or errno; ENOENT when there is no file.
int readWhole(const QString& path, QByteArray& bytes)
{
    // Something else than a file must not make opening wait.
    const FileDescriptor file(withoutInterruption([name = QFile::encodeName(path)] {
        return ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    }));
    struct stat status { };
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return EISDIR;
    }
    bytes.resize(static_cast<qsizetype>(status.st_size));
    qsizetype length = 0;
    while (length < bytes.size()) {
        const ssize_t count = withoutInterruption([&] {
            return ::read(
                file.get(), bytes.data() + length, static_cast<std::size_t>(bytes.size() - length));
        });
        if (count < 0) {
            return errno;
        }
        if (count == 0) {
            break;
        }
        length += static_cast<qsizetype>(count);
    }
    bytes.truncate(length);
    return 0;
}

} // namespace

XmlStore::XmlStore(QString path, const ManagedObjectModel& model, StoreLock lock)
    : m_path(std::move(path))
    , m_model(model)
    , m_lock(std::move(lock))
{
}

std::unique_ptr<XmlStore> XmlStore::open(
    const QString& path, const ManagedObjectModel& model, Error& error)
{
    const QFileInfo file(path);
    std::optional<StoreLock> lock = StoreLock::take(file.absolutePath(), error);
    if (!lock) {
        return nullptr;
    }
    removeUnfinishedFiles(file.absolutePath());
    std::unique_ptr<XmlStore> store(new XmlStore(file.absoluteFilePath(), model, *std::move(lock)));
    if (std::optional<Error> failure = store->load()) {
        error = *std::move(failure);
        return nullptr;
    }
    return store;
}

std::optional<Error> XmlStore::load()
{
    QByteArray bytes;
    const int code = readWhole(m_path, bytes);
    if (code == ENOENT) {
        m_contents.emplace();
        return write({}, m_contents->nextID);
    }
    if (code != 0) {
        return readError(m_path, code);
    }
    StoreReadFailure failure;
    m_contents = readStore(bytes, m_model, failure);
    if (!m_contents) {
        return contentError(m_path, m_model.name(), failure);
    }
    return std::nullopt;
}

std::optional<StoreContents> XmlStore::takeContents()
{
    return std::exchange(m_contents, std::nullopt);
}

std::optional<Error> XmlStore::write(
    const std::vector<QByteArrayView>& objects, qint64 nextID) const
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
