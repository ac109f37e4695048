#pragma once

#include <QString>

class QUrl;

/// The desktop around the program.
namespace platform::Workspace {

enum class Activation {
    Foreground, ///< the handler comes to the front
    Background, ///< the handler gets no activation token, so that the desktop does not raise it
};

/// Hands `url` to the system's default handler of its scheme, without a shell in between.
/// False when there is no handler or it could not be started; nothing is reported.
bool open(const QUrl& url, Activation activation = Activation::Foreground);

/// Shows the folder at `path` in the file manager.
bool showFolder(const QString& path);

} // namespace platform::Workspace
