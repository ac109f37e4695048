#pragma once

#include "platform/services/FileDescriptor.h"

#include <string>

namespace platform {

/// Tells when a PipeWire daemon opens its door, and when camera devices of the kernel's come and
/// go. One thread.
class PlugWatch {
public:
    PlugWatch();

    /// Can be read from when there are changes; -1 where nothing can be watched.
    int descriptor() const { return m_descriptor.get(); }

    struct Changes {
        bool daemon = false;
        bool devices = false;
    };
    /// Those since the last call; does not wait.
    Changes changes();

private:
    FileDescriptor m_descriptor;
    int m_devices = -1;
    int m_sockets = -1;
    std::string m_socketName;
};

} // namespace platform
