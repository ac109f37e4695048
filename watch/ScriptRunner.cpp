#include "watch/ScriptRunner.h"

#include "platform/script/Script.h"
#include "platform/services/Log.h"

namespace vellumcap {

using platform::Script;
using platform::ScriptError;

bool executeScriptWithPath(
    const QString& path, const QString& function, const QStringList& arguments)
{
    auto loaded = Script::load(path);
    if (const auto* error = std::get_if<ScriptError>(&loaded)) {
        platform::log(QStringLiteral("Could not instantiate applescript ") + error->message);
        return false;
    }
    auto& script = std::get<Script>(loaded);
    const Script::Outcome outcome
        = function.isEmpty() ? script.execute() : script.executeHandler(function, arguments);
    if (const auto* error = std::get_if<ScriptError>(&outcome)) {
        platform::log(QStringLiteral("error while executing script. Error ") + error->message);
        return false;
    }
    platform::log(
        QStringLiteral("Script execution has succeed. Result(%1)").arg(std::get<QString>(outcome)));
    return true;
}

} // namespace vellumcap
