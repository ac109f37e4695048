#pragma once

#include "platform/camera/CameraView.h"
#include "tests/support/CameraRig.h"

#include <QImage>

namespace vellumcap {
class ScanningWindow;
}

namespace support {

/// The size of paper(), and of the pictures of a cameraNamed().
constexpr QSize frameSize(640, 480);

/// A smallCamera() of that name.
CameraWish cameraNamed(const QString& name);

/// Plugs in a camera that shows `picture`, white for a null one. Returns once the program lists it.
[[nodiscard]] CameraOnStage plugIn(
    CameraRig& rig, const CameraWish& wish, const QImage& picture = {});

/// A light sheet, dark along its left edge, with a QR code of `text` left of the middle; without a
/// code for an empty text.
QImage paper(const QString& text = {});

platform::CameraView& cameraView(vellumcap::ScanningWindow& window);
bool showsLivePicture(vellumcap::ScanningWindow& window);

/// Waits until the preview has shown ten more pictures; false when it does not.
[[nodiscard]] bool picturesPass(vellumcap::ScanningWindow& window);

/// Shows the camera paper without a code, and waits until no earlier frame is being examined: its
/// code would be offered again. False when the preview stands still.
[[nodiscard]] bool takeAway(RigCamera& camera, vellumcap::ScanningWindow& window);

/// Test data: the columns "stored", a value of the preference "pref-mirror-video", and "mirrored".
void addMirroringRows();

} // namespace support
