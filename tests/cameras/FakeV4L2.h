#pragma once

#include <QString>

/// Stand-ins for camera devices of the kernel's: a test that is linked with this and
/// opens one of their paths gets a device that answers the ioctls of settings and formats. They
/// send no pictures.
namespace cameras {

enum class FakeProfile {
    Full, ///< everything that V4L2 has, its focus status and a shutter
    Webcam, ///< as most are: continuous, exposure by aperture priority
    OneShot, ///< what is done once by pressing a button
    Plain, ///< no settings
    Busy, ///< as Full, but another program takes pictures
};

void addFakeDevice(const QString& path, FakeProfile profile);
/// From now on every call to it fails, as for one that was pulled out.
void removeFakeDevices();

int fakeControl(const QString& path, quint32 control);
/// How often a button was pressed.
int fakePresses(const QString& path, quint32 control);
/// What can be held besides the ioctls, by their codes.
constexpr unsigned long fakeOpening = 1;
constexpr unsigned long fakeClosing = 2;
/// From now on whoever calls this does not come back, until the release or the removal.
void holdFakeCalls(const QString& path, unsigned long call);
void releaseFakeCalls();
/// How many threads are being held.
int heldFakeCalls();

/// As the camera itself does; whoever has subscribed is told.
void setFakeControl(const QString& path, quint32 control, int value);
/// Whether subscribing to changes works; it does at first.
void setFakeEvents(const QString& path, bool offered);

} // namespace cameras
