#pragma once

#include <QImage>
#include <QList>
#include <QSize>

#include <functional>
#include <memory>

namespace platform {

class CaptureConnection;
class CaptureSession;
class ImageFilter;

/// The live picture of a session: scaled to what is shown, then filtered, then mirrored, on a
/// thread of its own. Keeps its last picture when the session stops. Main thread.
class CaptureVideoPreviewLayer {
public:
    enum class VideoGravity { ResizeAspect }; ///< the whole picture, its aspect kept

    explicit CaptureVideoPreviewLayer(std::shared_ptr<CaptureSession> session);
    ~CaptureVideoPreviewLayer();

    void setVideoGravity(VideoGravity gravity);
    void setFrameSize(QSize pixels); ///< of the area that it fills, in device pixels

    /// Applied in this order; their values may be changed at any time.
    void setFilters(QList<std::shared_ptr<ImageFilter>> filters);
    /// The filter of that name; null when there is none.
    std::shared_ptr<ImageFilter> filterNamed(const QString& name) const;

    /// Null while the session has no input.
    std::shared_ptr<CaptureConnection> connection() const;

    /// The last picture, no larger than the frame size; null before the first. When filters,
    /// mirroring or size change while the session is stopped, it follows too.
    QImage picture() const;
    /// Called on the main thread when picture() is another one.
    void setPictureObserver(std::function<void()> observer);

    /// Makes picture() follow a change of filter values or mirroring although no frame comes.
    void setNeedsDisplay();

private:
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace platform
