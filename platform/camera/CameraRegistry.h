#pragma once

#include "platform/camera/CameraNode.h"
#include "platform/services/Observers.h"

#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// The cameras of this computer, followed on a thread of its own. Any thread.
class CameraRegistry {
public:
    /// Connects on first use (about 10 ms), by the camera portal when the program runs in a
    /// sandbox (or $VELLUMCAP_CAMERA_PORTAL is set, to try it outside of one), and to V4L2 when
    /// there is no daemon. A daemon that ends or comes later is followed.
    static CameraRegistry& shared();
    /// One more, for an environment of its own.
    CameraRegistry();
    ~CameraRegistry();
    CameraRegistry(const CameraRegistry&) = delete;
    CameraRegistry& operator=(const CameraRegistry&) = delete;

    enum class Source { PipeWire, Portal, V4L2 };
    Source source() const;

    /// Snapshots, in the order in which the cameras came. Formats are known once a camera is
    /// listed. The first request waits for the first listing, but not long: while the portal
    /// asks the user, there are no cameras.
    QList<CameraNode> cameras() const;
    std::optional<CameraNode> camera(const QString& name) const;
    /// The system's default camera, else the first; empty when there is none.
    QString defaultCamera() const;

    /// Sets a control by way of PipeWire. False when the camera has gone or lacks it.
    [[nodiscard]] bool setControl(const QString& name, quint32 id, int value);

    /// A descriptor of a PipeWire connection for the reader of a stream, owned by the caller; -1
    /// where a reader connects by itself.
    int openRemote() const;

    /// Calls `observer` after cameras were added, removed or changed, on the registry's thread. It
    /// must not block or set controls.
    [[nodiscard]] Observation observe(std::function<void()> observer);

private:
    class State;
    const std::unique_ptr<State> m_state;
};

} // namespace platform
