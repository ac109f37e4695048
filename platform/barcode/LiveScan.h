#pragma once

#include "platform/barcode/Detector.h"

#include <QRect>

#include <mutex>

namespace platform {

/// The state that the frames of one camera scan share. Any thread.
class LiveScan {
public:
    /// The number of the next frame, and the place located by the frame that was finished last.
    LiveFrame nextFrame();
    void setLocated(const QRect& located);

private:
    std::mutex m_mutex; ///< guards the members below
    quint64 m_next = 0;
    QRect m_located;
};

} // namespace platform
