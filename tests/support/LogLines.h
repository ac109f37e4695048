#pragma once

#include <QStringList>

namespace support {

/// Collects log lines of all threads during its lifetime instead of printing them. One instance at
/// a time.
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
