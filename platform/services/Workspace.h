#pragma once

#include <QString>

class QUrl;

/// Other programs of the desktop. Main thread.
namespace platform::Workspace {

enum class Activation {
    Foreground, ///< the handler comes to the front
    Background, ///< the handler gets no activation token, so that it is not raised
};

/// Opens `url` with the system's default handler of its scheme, without a shell. False, without a
/// message to the user, when there is no handler or it cannot be started.
bool open(const QUrl& url, Activation activation = Activation::Foreground);

/// Shows the folder at `path` in the file manager. False as above, or when there is no folder.
bool showFolder(const QString& path);

} // namespace platform::Workspace
