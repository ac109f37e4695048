#pragma once

#include <QMap>
#include <QString>
#include <QUrl>

namespace vellumcap {

/// The scripts that can be chosen: file name to location. Its order is that of the items in the
/// popup, whose tags are `firstScriptTag` and those that follow.
using ScriptTable = QMap<QString, QUrl>;

inline constexpr int firstScriptTag = 100; ///< what is less stands for running no script

/// The scripts folder, made where it is missing; an empty URL when it cannot be.
QUrl scriptFolder();

/// Logs and collects the scripts in the scripts folder; none when it cannot be read. Any thread.
ScriptTable scanScriptFolder();

} // namespace vellumcap
