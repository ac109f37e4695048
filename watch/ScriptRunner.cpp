#include "watch/ScriptRunner.h"

#include "platform/script/Script.h"
#include "platform/services/Log.h"

using Qt::StringLiterals::operator""_s;

namespace vellumcap {

using platform::Script;
using platform::ScriptError;

bool executeScriptWithPath(
    const QString& path, const QString& function, const QStringList& arguments)
{
    auto loaded = Script::load(path);
    if (const auto* error = std::get_if<ScriptError>(&loaded)) {
        platform::log(u"Could not instantiate applescript "_s + error->message);
        return false;
    }
    auto& script = std::get<Script>(loaded);
    const Script::Outcome outcome
        = function.isEmpty() ? script.execute() : script.executeHandler(function, arguments);
    if (const auto* error = std::get_if<ScriptError>(&outcome)) {
        platform::log(u"error while executing script. Error "_s + error->message);
        return false;
    }
    platform::log(u"Script execution has succeed. Result(%1)"_s.arg(std::get<QString>(outcome)));
    return true;
}

} // namespace vellumcap
