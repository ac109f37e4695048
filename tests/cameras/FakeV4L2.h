#pragma once

#include <QString>

/// Fake camera devices of the kernel. In a test that is linked with this library, opening one of
/// their paths gives a device that answers the ioctls for settings and formats. They send no
/// pictures.
namespace cameras {

enum class FakeProfile {
    Full, ///< everything that V4L2 has, its focus status and a shutter
    Webcam, ///< like most cameras: continuous modes, exposure by aperture priority
    OneShot, ///< only the modes that adjust once, at the press of a button
    Plain, ///< no settings
    Busy, ///< like Full, but another program captures
};

void addFakeDevice(const QString& path, FakeProfile profile);
/// Afterwards every call to a device fails, as for one that has been unplugged.
void removeFakeDevices();

int fakeControl(const QString& path, quint32 control);
/// The number of times that a button has been pressed.
int fakePresses(const QString& path, quint32 control);
/// Calls that can be held, besides the ioctls by their codes.
constexpr unsigned long fakeOpening = 1;
constexpr unsigned long fakeClosing = 2;
/// Afterwards this call blocks, until releaseFakeCalls() or removeFakeDevices().
void holdFakeCalls(const QString& path, unsigned long call);
void releaseFakeCalls();
/// The number of threads that are blocked.
int heldFakeCalls();

/// Changes a value as the camera itself would, and sends an event to subscribers.
void setFakeControl(const QString& path, quint32 control, int value);
/// Whether the device sends events; it does at first.
void setFakeEvents(const QString& path, bool offered);

} // namespace cameras
