#pragma once

#include <QString>

/// Other programs of the desktop. Main thread.
namespace platform::Workspace {

enum class Activation {
    Foreground, ///< the handler comes to the front
    Background, ///< the handler gets no activation token, so that it is not raised
};

/// Opens `url`, a URI of RFC 3986, with the system's default handler of its scheme, without a
/// shell. The handler gets `url` unchanged. False, without a message to the user, when there is no
/// handler or it cannot be started, for a text without a scheme or with a character outside
/// printable ASCII, and for a local file: a sandboxed program may not open one by a link.
bool open(const QString& url, Activation activation = Activation::Foreground);

/// Shows the folder at `path` in the file manager. False as above, or when there is no folder.
bool showFolder(const QString& path);

} // namespace platform::Workspace
