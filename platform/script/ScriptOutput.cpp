#include "platform/script/ScriptOutput.h"

#include "platform/script/ScriptThreads.h"

#include <QString>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

constexpr std::size_t longestLine = 4096; // bytes
constexpr std::size_t mostLogged = 1024 * 1024; // bytes

} // namespace

ScriptOutput::ScriptOutput()
    : m_stream(::fopencookie(this, "w", { nullptr, &ScriptOutput::write, nullptr, nullptr }))
{
    if (m_stream != nullptr) {
        std::setvbuf(m_stream, nullptr, _IONBF, 0);
    }
}

ScriptOutput::~ScriptOutput()
{
    if (m_stream != nullptr) {
        std::fclose(m_stream);
    }
    if (!m_line.empty()) {
        endLine();
    }
}

ssize_t ScriptOutput::write(void* output, const char* bytes, std::size_t size) noexcept
{
    auto* self = static_cast<ScriptOutput*>(output);
    for (std::size_t index = 0; index < size && self->m_logged <= mostLogged; ++index) {
        self->take(bytes[index]);
    }
    return static_cast<ssize_t>(size);
}

void ScriptOutput::take(char byte)
{
    if (byte == '\n') {
        endLine();
    } else if (m_line.size() <= longestLine) {
        m_line += byte;
    }
}

void ScriptOutput::endLine()
{
    if (m_logged > mostLogged) {
        return;
    }
    QString line = QString::fromUtf8(m_line.data(), static_cast<qsizetype>(m_line.size()));
    if (m_line.size() > longestLine) {
        line += u"…"_s;
    }
    m_logged += m_line.size() + 1;
    m_line.clear();
    ScriptThreads::logFromScript(line);
    if (m_logged > mostLogged) {
        ScriptThreads::logFromScript(u"The script prints too much; the rest is left out"_s);
    }
}

} // namespace platform
