#include "platform/camera/CaptureDevice.h"

namespace platform {

struct CaptureDevice::State {
    QString uniqueID;
    QString localizedName;
};

QList<CaptureDevice> CaptureDevice::devicesWithMediaType(MediaType)
{
    return {};
}

std::optional<CaptureDevice> CaptureDevice::defaultDeviceWithMediaType(MediaType)
{
    return std::nullopt;
}

const QString& CaptureDevice::uniqueID() const
{
    return m_state->uniqueID;
}

const QString& CaptureDevice::localizedName() const
{
    return m_state->localizedName;
}

} // namespace platform
