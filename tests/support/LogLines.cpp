#include "tests/support/LogLines.h"

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

} // namespace support
