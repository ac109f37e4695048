#pragma once

#include <QString>

/// The user's folders, as the XDG Base Directory Specification places them. None but the scripts
/// folder is created by asking for it.
namespace platform::StandardFolders {

QString applicationSupport(); ///< $XDG_DATA_HOME
QString caches(); ///< $XDG_CACHE_HOME/vellumcap
QString configuration(); ///< $XDG_CONFIG_HOME/vellumcap
QString pictures();

/// `scripts` in the configuration folder; made on request. Empty when it cannot be made.
enum class Creation { No, Yes };
QString applicationScripts(Creation creation);

} // namespace platform::StandardFolders
