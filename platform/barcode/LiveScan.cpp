#include "platform/barcode/LiveScan.h"

namespace platform {

LiveFrame LiveScan::nextFrame()
{
    const std::lock_guard lock(m_mutex);
    return { m_next++, m_located };
}

void LiveScan::setLocated(const QRect& located)
{
    const std::lock_guard lock(m_mutex);
    m_located = located;
}

} // namespace platform
