#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QSize>
#include <QString>

#include <optional>

namespace cameras {

/// One way in which a virtual camera delivers its picture, such as "YUY2:1280x720@30".
struct CameraMode {
    /// BGRx, BGRA, RGBx, RGB, YUY2, UYVY, NV12, I420, GRAY8 or JPEG
    QString encoding;
    QSize size; ///< even
    int rate = 30; ///< frames per second

    static std::optional<CameraMode> parsed(const QString& text);
    bool operator==(const CameraMode&) const = default;
};

/// A frame in the layout of a buffer.
struct CameraFrame {
    QByteArray bytes;
    int stride = 0; ///< of the first plane; 0 when compressed
};

/// `picture` as the camera sees it: centred on white, scaled down when it does not fit.
QImage seenPicture(const QImage& picture, QSize size);

/// `seen` has the size of the mode. Colours by ITU-R BT.601, limited range.
CameraFrame encodedFrame(const QImage& seen, const QString& encoding);

/// The largest number of bytes that a frame can need.
int largestFrame(const CameraMode& mode);

} // namespace cameras
