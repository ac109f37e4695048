#pragma once

#include "platform/camera/CameraNode.h"
#include "platform/services/Observers.h"

#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// The cameras of this computer, kept up to date on a thread of its own. Thread-safe.
class CameraRegistry {
public:
    /// Connects to PipeWire on first use (about 10 ms): through the camera portal in a sandbox or
    /// when $VELLUMCAP_CAMERA_PORTAL is set. Without a daemon it lists V4L2 devices. It reacts to
    /// the start and the end of the daemon.
    static CameraRegistry& shared();
    /// A registry besides the shared one, for tests that change the environment.
    CameraRegistry();
    ~CameraRegistry();
    CameraRegistry(const CameraRegistry&) = delete;
    CameraRegistry& operator=(const CameraRegistry&) = delete;

    enum class Source { PipeWire, Portal, V4L2 };
    Source source() const;

    /// A snapshot, in the order in which the cameras were plugged in, each with its formats. The
    /// first call waits up to 0.3 s for the first listing. The list is empty while the portal asks
    /// the user.
    QList<CameraNode> cameras() const;
    std::optional<CameraNode> camera(const QString& name) const;
    /// The system's default camera, else the first; empty when there is none.
    QString defaultCamera() const;

    /// Sets a control through PipeWire. False when the camera is not listed or lacks the control.
    [[nodiscard]] bool setControl(const QString& name, quint32 id, int value);

    /// A descriptor of a PipeWire connection for a program that reads a stream, owned by the
    /// caller; -1 when the reader connects by itself.
    int openRemote() const;

    /// Calls `observer` after cameras were added, removed or changed, on the registry's thread. It
    /// must not block or set controls.
    [[nodiscard]] Observation observe(std::function<void()> observer);

private:
    class State;
    const std::unique_ptr<State> m_state;
};

} // namespace platform
