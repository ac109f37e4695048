#pragma once

#include "platform/camera/CameraNode.h"
#include "platform/services/FileDescriptor.h"

#include <optional>

namespace platform {

/// A camera device of the kernel, open during the lifetime of this object. One thread at a time;
/// the driver may block any call, the constructor and the destructor (see DriverCall).
class V4L2Device {
public:
    /// Check isOpen() afterwards.
    explicit V4L2Device(const QString& path);
    bool isOpen() const { return m_descriptor.isOpen(); }
    int descriptor() const { return m_descriptor.get(); }

    /// An ioctl; false, with errno set, when it fails.
    bool request(unsigned long code, void* argument) const;

    bool hasControl(quint32 id) const; ///< and it can be set
    bool hasChoice(quint32 id, int choice) const; ///< of a menu
    std::optional<int> control(quint32 id) const;
    bool setControl(quint32 id, int value) const;

    /// Whether another descriptor has the right to capture. Not to be called while this program or
    /// PipeWire captures.
    bool isBusy() const;
    /// Claims priority over all descriptors that do not claim the same, until the device is closed.
    bool claimPriority() const;

    bool isCamera() const; ///< not a radio, an encoder or a metadata device
    QString cardName() const;
    QList<CameraFormat> formats() const;

private:
    FileDescriptor m_descriptor;
};

/// The cameras among the devices named video* in the folder, in the order of their numbers, without
/// those whose drivers do not respond in time.
QList<CameraNode> v4l2Cameras(const QString& folder = QStringLiteral("/dev"));

} // namespace platform
