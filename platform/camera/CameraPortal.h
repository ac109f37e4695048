#pragma once

#include <functional>
#include <memory>

namespace platform {

/// Access to the cameras from a sandbox through org.freedesktop.portal.Camera, which may ask the
/// user for permission.
class CameraPortal {
public:
    /// True in a Flatpak or Snap, or when $VELLUMCAP_CAMERA_PORTAL is not empty.
    static bool isNeeded();

    /// Requests access on a thread of its own, which calls `answered` once.
    explicit CameraPortal(std::function<void(bool granted)> answered);
    /// Stops waiting for the user's answer and waits for that thread.
    ~CameraPortal();
    CameraPortal(const CameraPortal&) = delete;
    CameraPortal& operator=(const CameraPortal&) = delete;

    /// Opens a PipeWire connection that is restricted to cameras. The caller owns the descriptor;
    /// -1 when access has not been granted. Thread-safe.
    static int openRemote();

private:
    class Question;
    std::unique_ptr<Question> m_question;
};

} // namespace platform
