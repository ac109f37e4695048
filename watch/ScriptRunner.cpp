#include "watch/ScriptRunner.h"

#include "platform/script/Script.h"
#include "platform/services/Log.h"

using namespace Qt::StringLiterals;

namespace vellumcap {

using platform::Script;

bool executeScriptWithPath(
    const QString& path, const QString& function, const QStringList& arguments)
{
    auto script = Script::load(path);
    if (!script) {
        platform::log(
            u"Could not instantiate applescript "_s + script.error().localizedDescription);
        return false;
    }
    const auto result
        = function.isEmpty() ? script->execute() : script->executeHandler(function, arguments);
    if (!result) {
        platform::log(
            u"error while executing script. Error "_s + result.error().localizedDescription);
        return false;
    }
    platform::log(u"Script execution has succeed. Result(%1)"_s.arg(*result));
    return true;
}

} // namespace vellumcap
