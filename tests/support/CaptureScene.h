#pragma once

#include "platform/camera/CaptureDevice.h"
#include "platform/camera/CaptureSession.h"
#include "platform/camera/CaptureVideoDataOutput.h"
#include "platform/camera/SampleBufferDelegate.h"
#include "platform/services/Dispatch.h"
#include "tests/support/CameraRig.h"

#include <QImage>
#include <QList>

#include <functional>
#include <memory>
#include <mutex>

namespace support {

/// Four quarters: red, green, blue, grey.
QImage quarters(QSize size = { 640, 480 });

/// Describes the first quarter whose colour differs from the expected one; empty when none does.
QString wrongQuarter(const QImage& seen, const QImage& expected);

/// A camera of 640x480 at 30 frames per second.
CameraWish smallCamera(const QString& encoding = QStringLiteral("YUY2"));

/// Records the frames that it receives. `act`, if set, is called with each frame.
class FrameWatcher : public platform::SampleBufferDelegate {
public:
    explicit FrameWatcher(std::function<void()> act = {});

    void didOutputSampleBuffer(const platform::SampleBuffer& frame) override;

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

/// A session with an output, as a window sets it up. The camera must be listed.
struct CaptureScene {
    explicit CaptureScene(const QString& camera, std::function<void()> act = {});

    /// Starts the session. False when no frame arrives.
    [[nodiscard]] bool start() const;

    const std::shared_ptr<platform::SerialQueue> queue
        = std::make_shared<platform::SerialQueue>("aQueue");
    std::shared_ptr<platform::CaptureSession> session
        = std::make_shared<platform::CaptureSession>();
    std::shared_ptr<platform::CaptureVideoDataOutput> output
        = std::make_shared<platform::CaptureVideoDataOutput>();
    std::shared_ptr<FrameWatcher> watcher;
    QList<platform::Interruption> interruptions; ///< all that were reported, in order
};

} // namespace support
