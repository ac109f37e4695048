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

/// The live picture of a session: scaled as a whole to the area that shows it, then filtered, then
/// mirrored, on a thread of its own. Keeps its last picture when the session stops. Main thread.
class CaptureVideoPreviewLayer {
public:
    explicit CaptureVideoPreviewLayer(std::shared_ptr<CaptureSession> session);
    ~CaptureVideoPreviewLayer();
    CaptureVideoPreviewLayer(const CaptureVideoPreviewLayer&) = delete;
    CaptureVideoPreviewLayer& operator=(const CaptureVideoPreviewLayer&) = delete;

    void setFrameSize(QSize pixels); ///< of the area that shows the picture, in device pixels

    /// Applied in this order; their values may be changed at any time.
    void setFilters(QList<std::shared_ptr<ImageFilter>> filters);
    /// The filter of that name; null when there is none.
    std::shared_ptr<ImageFilter> filterNamed(const QString& name) const;

    /// Null while the session has no input.
    std::shared_ptr<CaptureConnection> connection() const;

    /// The last picture, no larger than the frame size; null before the first one. It also follows
    /// filters, mirroring and size that change while the session is stopped.
    QImage picture() const;
    /// Called on the main thread after picture() has changed.
    void setPictureObserver(std::function<void()> observer);

    /// Renders picture() again with the current filter values and mirroring, even without a new
    /// frame.
    void setNeedsDisplay();

private:
    struct State;
    const std::unique_ptr<State> m_state;
};

} // namespace platform
