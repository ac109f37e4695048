#pragma once

#include <functional>
#include <memory>

namespace platform {

/// The way to the cameras out of a sandbox: org.freedesktop.portal.Camera, which may ask the user.
class CameraPortal {
public:
    /// True in a Flatpak or Snap, or when $VELLUMCAP_CAMERA_PORTAL is not empty.
    static bool isNeeded();

    /// Asks for access, on a thread of its own that calls `answered` once.
    explicit CameraPortal(std::function<void(bool granted)> answered);
    /// Waits for that thread, which does not wait for the user any longer.
    ~CameraPortal();
    CameraPortal(const CameraPortal&) = delete;
    CameraPortal& operator=(const CameraPortal&) = delete;

    /// A PipeWire connection that shows cameras alone, owned by the caller; -1 where access has
    /// not been granted. Any thread.
    static int openRemote();

private:
    class Question;
    std::unique_ptr<Question> m_question;
};

} // namespace platform
