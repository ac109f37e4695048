#pragma once

#include "platform/camera/CaptureDevice.h"
#include "platform/camera/CaptureSession.h"
#include "platform/camera/CaptureVideoDataOutput.h"
#include "platform/services/Dispatch.h"
#include "tests/support/CameraRig.h"

#include <QImage>
#include <QList>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace support {

constexpr int patienceWithCameras = 20000; // ms, for a busy machine

/// Four quarters: red, green, blue, grey.
QImage quarters(QSize size = { 640, 480 });

/// Describes the first quarter of `seen` whose colour differs; empty when none does.
QString wrongQuarter(const QImage& seen, const QImage& expected);

/// Waits until the program lists the camera; nullopt when it does not.
std::optional<platform::CaptureDevice> awaitedDevice(const QString& camera);

/// Plugs in a camera that shows `picture`, white for a null one; returns once the program lists it,
/// and fails the process when it does not.
[[nodiscard]] CameraOnStage plugIn(
    CameraRig& rig, const CameraWish& wish, const QImage& picture = {});

/// A camera of 640x480 at 30 frames a second.
CameraWish smallCamera(const QString& name, const QString& encoding = QStringLiteral("YUY2"));

/// Records the frames that it receives. Calls `act`, if set, after each frame. Any thread.
class FrameWatcher : public platform::SampleBufferDelegate {
public:
    explicit FrameWatcher(std::function<void()> act = {});

    void didOutputSampleBuffer(const platform::CaptureVideoDataOutput&,
        const platform::SampleBuffer& frame, const platform::CaptureConnection&) override;

    qsizetype count() const;
    QList<quint64> sequences() const;
    QImage pixels() const; ///< of the latest frame
    void forget();

private:
    const std::function<void()> m_act;
    mutable std::mutex m_mutex;
    QList<quint64> m_sequences;
    QImage m_pixels;
};

/// A session as a window sets it up.
struct CaptureScene {
    explicit CaptureScene(const QString& camera, std::function<void()> act = {});

    const std::shared_ptr<platform::SerialQueue> queue
        = std::make_shared<platform::SerialQueue>("aQueue");
    std::shared_ptr<platform::CaptureSession> session
        = std::make_shared<platform::CaptureSession>();
    std::shared_ptr<platform::CaptureVideoDataOutput> output
        = std::make_shared<platform::CaptureVideoDataOutput>();
    std::shared_ptr<FrameWatcher> watcher;
    QList<platform::CaptureSession::Interruption> told; ///< all reported interruptions
};

} // namespace support
