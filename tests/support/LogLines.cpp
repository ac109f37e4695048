#include "tests/support/LogLines.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <mutex>

namespace support {
namespace {

std::mutex mutex;
QStringList lines;
QtMessageHandler previous = nullptr;

} // namespace

LogLines::LogLines()
{
    {
        const std::lock_guard lock(mutex);
        lines.clear();
    }
    previous
        = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& message) {
              const std::lock_guard lock(mutex);
              lines.append(message);
          });
}

LogLines::~LogLines()
{
    qInstallMessageHandler(previous);
}

QStringList LogLines::all()
{
    const std::lock_guard lock(mutex);
    return lines;
}

bool writeFile(const QString& path, const QByteArray& contents)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QFile::WriteOnly)
        && file.write(contents) == contents.size();
}

} // namespace support
