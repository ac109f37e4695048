#pragma once

#include <QSize>

namespace platform {

/// One way in which a camera can deliver its picture.
struct CameraFormat {
    /// Named after their GStreamer formats; the order is that of preference.
    enum class Encoding { BGRx, BGRA, RGBx, RGBA, BGR, RGB, YUY2, UYVY, NV12, I420, GRAY8, JPEG };

    Encoding encoding = Encoding::BGRx;
    QSize size;
    int rateNumerator = 0; ///< the highest rate offered, in frames per second
    int rateDenominator = 1;
    double lowestRate = 0;

    /// In frames per second; 0 when it is not known.
    double highestRate() const
    {
        return rateDenominator > 0 ? static_cast<double>(rateNumerator) / rateDenominator : 0;
    }

    bool operator==(const CameraFormat&) const = default;
};

} // namespace platform
