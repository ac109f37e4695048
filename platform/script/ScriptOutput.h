#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <sys/types.h>

namespace platform {

/// What one script prints: a C stream whose lines go into the log, long ones cut, and no more of
/// them than a log can bear.
class ScriptOutput {
public:
    ScriptOutput();
    /// Logs a last line that was not ended.
    ~ScriptOutput();
    ScriptOutput(const ScriptOutput&) = delete;
    ScriptOutput& operator=(const ScriptOutput&) = delete;

    std::FILE* stream() const { return m_stream; } ///< null where there is no memory for it

private:
    static ssize_t write(void* output, const char* bytes, std::size_t size) noexcept;
    void take(char byte);
    void endLine();

    std::FILE* m_stream;
    std::string m_line;
    std::size_t m_logged = 0; ///< bytes
};

} // namespace platform
