#pragma once

#include "platform/camera/CameraFormat.h"

#include <QList>
#include <QString>

namespace platform {

/// A control of a camera that can be set through PipeWire when the device cannot be opened.
struct CameraControl {
    quint32 id = 0; ///< V4L2_CID_...
    QList<int> choices; ///< of a menu; empty for other controls

    bool operator==(const CameraControl&) const = default;
};

/// A camera as the system describes it: a PipeWire node, or a V4L2 device when no PipeWire daemon
/// runs.
struct CameraNode {
    QString name; ///< stable: node.name, or the device's path
    QString description; ///< for people: node.description, or the driver's name for the card
    QString devicePath; ///< of the V4L2 device behind it; empty when there is none
    quint32 id = 0; ///< of the node; not stable
    bool isRunning = false; ///< PipeWire takes pictures from it, for any program
    bool isInUse = false; ///< it runs and another program is linked to it
    QList<CameraFormat> formats;
    QList<CameraControl> controls;

    bool operator==(const CameraNode&) const = default;
};

} // namespace platform
