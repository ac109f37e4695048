#pragma once

#include "CameraPicture.h"

#include <QMap>

#include <functional>
#include <memory>

namespace cameras {

/// A control that the camera offers as a property of its node.
struct CameraControl {
    quint32 id = 0; ///< V4L2_CID_...
    QList<int> choices; ///< of a menu; a switch when empty
};

/// A camera that PipeWire lists like one of hardware. It lives on the loop that run() runs;
/// everything else is called before run() or on the loop.
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

    /// Says "ready" on standard output once the camera is listed, and obeys the lines of standard
    /// input. Each is answered by itself, with "done " in front, when it has taken effect. False
    /// when there is no PipeWire or it threw the camera out.
    bool run();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace cameras
