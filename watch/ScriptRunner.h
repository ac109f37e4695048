#pragma once

#include <QString>
#include <QStringList>

namespace vellumcap {

/// Loads the script at `path` and calls its handler `function` with `arguments`, or runs its top
/// level if `function` is empty. Logs the result or the error; returns whether there was no error.
/// Blocks as long as the script runs: call it in a job of platform::dispatchScript().
bool executeScriptWithPath(
    const QString& path, const QString& function, const QStringList& arguments);

} // namespace vellumcap
