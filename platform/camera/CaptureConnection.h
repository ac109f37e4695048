#pragma once

#include <atomic>

namespace platform {

/// The way of frames from an input to where they are shown. Any thread.
class CaptureConnection {
public:
    bool isVideoMirroringSupported() const { return true; }
    /// Automatic: user-facing cameras would be mirrored; no camera here tells where it faces.
    void setAutomaticallyAdjustsVideoMirroring(bool automatic) { m_automatic = automatic; }
    bool automaticallyAdjustsVideoMirroring() const { return m_automatic; }
    void setVideoMirrored(bool mirrored) { m_mirrored = mirrored; }
    bool isVideoMirrored() const { return m_mirrored; }

private:
    std::atomic<bool> m_automatic = true;
    std::atomic<bool> m_mirrored = false;
};

} // namespace platform
