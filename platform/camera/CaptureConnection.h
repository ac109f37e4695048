#pragma once

#include <atomic>

namespace platform {

/// The connection from a session's input to its preview. Thread-safe.
class CaptureConnection {
public:
    void setVideoMirrored(bool mirrored) { m_mirrored = mirrored; }
    bool isVideoMirrored() const { return m_mirrored; }

private:
    std::atomic<bool> m_mirrored = false;
};

} // namespace platform
