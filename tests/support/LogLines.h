#pragma once

#include <QStringList>

namespace support {

/// Collects what is logged for as long as this lives, from any thread, in place of printing it.
/// One at a time.
class LogLines {
public:
    LogLines();
    ~LogLines();
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    static QStringList all();
    static bool contain(const QString& line) { return all().contains(line); }
};

} // namespace support
