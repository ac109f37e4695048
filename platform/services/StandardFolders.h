#pragma once

#include <QString>

/// Paths of the user's folders, by the XDG Base Directory Specification.
namespace platform::StandardFolders {

QString applicationSupport(); ///< $XDG_DATA_HOME
QString caches(); ///< $XDG_CACHE_HOME/vellumcap
QString configuration(); ///< $XDG_CONFIG_HOME/vellumcap
QString pictures();

/// `scripts` in the configuration folder. Empty when it cannot be created.
enum class Creation { No, Yes };
QString applicationScripts(Creation creation);

} // namespace platform::StandardFolders
