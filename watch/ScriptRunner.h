#pragma once

#include <QString>
#include <QStringList>

namespace vellumcap {

/// Loads the script at `path` anew and calls its handler `function` with `arguments`; with no
/// function, or an empty one, it runs the script's top level. True when that went without an
/// error; what came of it is in the log. Takes as long as the script does: to be called in a job of
/// platform::dispatchScript().
bool executeScriptWithPath(
    const QString& path, const QString& function, const QStringList& arguments);

} // namespace vellumcap
