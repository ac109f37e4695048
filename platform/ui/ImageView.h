#pragma once

#include "platform/ui/ImageFile.h"

#include <QImage>
#include <QWidget>

#include <memory>

class QNativeGestureEvent;
class QPinchGesture;

namespace platform {

/// Shows a picture, whole at first; zoomed by wheel, pinch and keys (+, -, 0, 1), moved by
/// dragging and arrow keys. Main thread.
class ImageView : public QWidget {
    Q_OBJECT
public:
    explicit ImageView(QWidget* parent = nullptr);
    ~ImageView() override;

    void setImage(const QImage& image); ///< a null image empties the view
    /// Reads the file off the main thread; the view is empty until then, and stays empty when the
    /// file is missing or no picture.
    void setImageWithFile(const ImageFile& file);
    const QImage& image() const;

    double zoomFactor() const; ///< device-independent pixels on screen per pixel of the picture
    bool fitsWindow() const; ///< the zoom follows the size of the view
    void setZoomFactor(double factor); ///< kept within what the view can show sensibly
    void zoomIn();
    void zoomOut();
    void zoomToFit();

    /// Where the picture lies, in the view's coordinates; it may reach beyond the view.
    QRectF imageRect() const;

    QSize sizeHint() const override;

Q_SIGNALS:
    void imageChanged();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    struct State;

    bool nativeGesture(const QNativeGestureEvent& event);
    void pinch(const QPinchGesture& gesture);
    bool zoomByKey(int key);
    bool panByKey(int key);

    std::unique_ptr<State> m_state;
};

} // namespace platform
