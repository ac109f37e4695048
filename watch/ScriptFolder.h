#pragma once

#include <QMap>
#include <QString>
#include <QUrl>

namespace vellumcap {

/// The scripts that can be chosen: file name to location, in the order of the popup's items, whose
/// tags count up from `firstScriptTag`.
using ScriptTable = QMap<QString, QUrl>;

inline constexpr int firstScriptTag = 100; ///< a smaller tag means: run no script

/// The scripts folder, created if it is missing; an empty URL on failure.
QUrl scriptFolder();

/// Collects the scripts in the scripts folder and logs each; empty when the folder cannot be read.
/// Any thread.
ScriptTable scanScriptFolder();

} // namespace vellumcap
