#pragma once

#include "platform/camera/CameraNode.h"
#include "platform/services/FileDescriptor.h"

#include <optional>

namespace platform {

/// A camera device of the kernel's, open as long as this lives. Any thread, one at a time; its
/// driver may hold up whoever opens, asks or closes it (see DriverCall).
class V4L2Device {
public:
    /// errno says why when it does not open.
    explicit V4L2Device(const QString& path);
    bool isOpen() const { return m_descriptor.isOpen(); }
    int descriptor() const { return m_descriptor.get(); }

    /// An ioctl; false, with errno set, when it fails.
    bool request(unsigned long code, void* argument) const;

    bool hasControl(quint32 id) const; ///< that can be set
    bool hasChoice(quint32 id, int choice) const; ///< of a menu
    std::optional<int> control(quint32 id) const;
    bool setControl(quint32 id, int value) const;

    /// Another descriptor holds the right to take pictures. Not to be asked while this program
    /// or its PipeWire takes them.
    bool isBusy() const;
    /// Priority over all who do not claim the same; ends when the device is closed.
    bool claimPriority() const;

    bool isCamera() const; ///< not a radio, an encoder or the metadata of a camera
    QString cardName() const;
    QList<CameraFormat> formats() const;

private:
    FileDescriptor m_descriptor;
};

/// The devices named video* in the folder, in the order of their numbers, without those whose
/// drivers do not answer in time.
QList<CameraNode> v4l2Cameras(const QString& folder = QStringLiteral("/dev"));

} // namespace platform
