#pragma once

#include "CameraPicture.h"

#include <QMap>

#include <functional>
#include <memory>

namespace cameras {

/// A control that the camera offers as a property of its node.
struct CameraControl {
    quint32 id = 0; ///< V4L2_CID_...
    QList<int> choices; ///< of a menu; empty for a switch
};

/// A camera that PipeWire lists like a hardware camera. It lives on the loop of run(); other calls
/// are made before run() or on the loop.
class VirtualCamera {
public:
    struct Properties {
        QString name;
        QString description;
        QList<CameraMode> modes; ///< at least one
        QMap<QString, QString> others; ///< of the node
        QList<CameraControl> controls;
    };

    VirtualCamera(Properties properties, QImage picture);
    ~VirtualCamera();

    /// Prints "ready" when the camera is listed, then executes the lines of standard input. Prints
    /// "done " and the line when each has taken effect. False without PipeWire, or when PipeWire
    /// removes the camera.
    bool run();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace cameras
