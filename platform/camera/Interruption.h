#pragma once

namespace platform {

/// Why a running session delivers no frames.
enum class Interruption {
    None, ///< frames arrive, or the first one is awaited
    NoCamera, ///< the session has no input
    Unplugged, ///< the camera is no longer listed; the session opens it again when it returns
    Stalled, ///< the camera is listed but has sent nothing for a while; ends with the next frame
    Refused, ///< the camera cannot be opened, or offers no format that can be read
};

} // namespace platform
