#pragma once

#include "platform/camera/CameraNode.h"

#include <functional>
#include <memory>

struct pw_context;

namespace platform {

/// What a camera system offers at a moment.
struct CameraListing {
    QList<CameraNode> cameras;
    QString defaultCamera; ///< a name that may be absent; empty when the system has no opinion

    bool operator==(const CameraListing&) const = default;
};

/// The cameras of one connection to PipeWire, followed. Lives on the context's loop: made, called
/// and destroyed under its lock, but not from within its own calls.
class PipeWireCameras {
public:
    struct Observer {
        std::function<void(CameraListing)> changed; ///< also with the first listing, if empty
        std::function<void()> lost; ///< the daemon ended; called once
    };

    /// Connects by `descriptor`, which it takes over, or to the user's daemon where that is -1.
    /// Null when there is none.
    static std::unique_ptr<PipeWireCameras> connected(
        pw_context* context, int descriptor, Observer observer);
    ~PipeWireCameras();
    PipeWireCameras(const PipeWireCameras&) = delete;
    PipeWireCameras& operator=(const PipeWireCameras&) = delete;

    bool setControl(const QString& name, quint32 id, int value);

private:
    class Connection;
    explicit PipeWireCameras(std::unique_ptr<Connection> connection);
    std::unique_ptr<Connection> m_connection;
};

} // namespace platform
