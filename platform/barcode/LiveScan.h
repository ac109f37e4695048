#pragma once

#include "platform/barcode/Detector.h"

#include <QRect>

#include <mutex>

namespace platform {

/// What the frames of one camera's scan pass on to each other. Any thread.
class LiveScan {
public:
    /// The next frame to examine, with what the last one that was finished has located.
    LiveFrame nextFrame();
    void setLocated(const QRect& located);

private:
    std::mutex m_mutex; // guards what follows
    quint64 m_next = 0;
    QRect m_located;
};

} // namespace platform
