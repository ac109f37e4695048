#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace platform {

enum class MediaType { Video, Muxed };

/// A camera, as far as choosing one needs it. There is no layer beneath yet that finds cameras:
/// every computer looks as if it had none.
struct CaptureDevice {
    QString uniqueID; ///< stable over restarts
    QString localizedName;

    static QList<CaptureDevice> devicesWithMediaType(MediaType type);
    static std::optional<CaptureDevice> defaultDeviceWithMediaType(MediaType type);
};

} // namespace platform
