#include "platform/camera/PlugWatch.h"

#include <cstdlib>
#include <cstring>
#include <sys/inotify.h>

namespace platform {

namespace {

std::string variable(const char* name)
{
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): read at the start
    return value == nullptr ? std::string() : value;
}

} // namespace

PlugWatch::PlugWatch()
    : m_descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    // The same rules as PipeWire's own library.
    const std::string remote = variable("PIPEWIRE_REMOTE");
    m_socketName = remote.empty() ? "pipewire-0" : remote;
    std::string folder = variable("PIPEWIRE_RUNTIME_DIR");
    folder = folder.empty() ? variable("XDG_RUNTIME_DIR") : folder;
    if (!folder.empty()) {
        m_sockets = inotify_add_watch(m_descriptor.get(), folder.c_str(), IN_CREATE | IN_MOVED_TO);
    }
    // A new device can be opened only after its attributes have been set.
    m_devices = inotify_add_watch(m_descriptor.get(), "/dev", IN_CREATE | IN_DELETE | IN_ATTRIB);
}

PlugWatch::Changes PlugWatch::changes()
{
    Changes changes;
    alignas(inotify_event) char bytes[8192];
    for (ssize_t count = read(m_descriptor.get(), bytes, sizeof bytes); count > 0;
         count = read(m_descriptor.get(), bytes, sizeof bytes)) {
        for (const char* at = bytes; at < bytes + count;) {
            const auto* event = reinterpret_cast<const inotify_event*>(at);
            const std::string name = event->len > 0 ? event->name : "";
            changes.daemon = changes.daemon || (event->wd == m_sockets && name == m_socketName);
            changes.devices
                = changes.devices || (event->wd == m_devices && name.rfind("video", 0) == 0);
            at += sizeof(inotify_event) + event->len;
        }
    }
    return changes;
}

} // namespace platform
