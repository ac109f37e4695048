#pragma once

#include "platform/services/FileDescriptor.h"

#include <string>

namespace platform {

/// Reports when a PipeWire daemon creates its socket, and when video devices are added or removed.
/// One thread at a time.
class PlugWatch {
public:
    PlugWatch();

    /// Readable when there are changes; -1 when nothing can be watched.
    int descriptor() const { return m_descriptor.get(); }

    struct Changes {
        bool daemon = false;
        bool devices = false;
    };
    /// The changes since the last call. Does not block.
    Changes changes();

private:
    FileDescriptor m_descriptor;
    int m_devices = -1;
    int m_sockets = -1;
    std::string m_socketName;
};

} // namespace platform
