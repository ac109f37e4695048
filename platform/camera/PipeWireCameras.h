#pragma once

#include "platform/camera/CameraNode.h"

#include <functional>
#include <memory>

struct pw_context;

namespace platform {

/// The cameras that a camera system lists at one moment.
struct CameraListing {
    QList<CameraNode> cameras;
    QString defaultCamera; ///< may name a camera that is not listed; empty when there is none

    bool operator==(const CameraListing&) const = default;
};

/// The cameras of one connection to PipeWire, kept up to date. Lives on the context's loop: must be
/// created, called and destroyed under the loop's lock, but not in a call of its observer.
class PipeWireCameras {
public:
    struct Observer {
        std::function<void(CameraListing)>
            changed; ///< also with the first listing, even if it is empty
        std::function<void()> lost; ///< the daemon ended; called once
    };

    /// Connects through `descriptor`, which it takes ownership of, or to the user's daemon when
    /// that is -1. Null when there is no daemon.
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
