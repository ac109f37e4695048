#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <sys/types.h>

namespace platform {

/// A C stream for what one script prints. Logs it line by line; cuts long lines and stops logging
/// after a total of 1 MiB.
class ScriptOutput {
public:
    ScriptOutput();
    /// Logs a last line without a line feed.
    ~ScriptOutput();
    ScriptOutput(const ScriptOutput&) = delete;
    ScriptOutput& operator=(const ScriptOutput&) = delete;

    std::FILE* stream() const { return m_stream; } ///< null when there is not enough memory

private:
    static ssize_t write(void* output, const char* bytes, std::size_t size) noexcept;
    void take(char byte);
    void endLine();

    std::FILE* m_stream;
    std::string m_line;
    std::size_t m_logged = 0; ///< bytes
};

} // namespace platform
