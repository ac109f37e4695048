#pragma once

#include "platform/ui/ImageFile.h"

#include <QImage>
#include <QWidget>

#include <memory>

namespace platform {

/// Shows a picture, first as a whole. The user zooms by wheel, pinch, double click and keys (+, -,
/// 0, 1), and pans by dragging and arrow keys. Main thread.
class ImageView : public QWidget {
    Q_OBJECT
public:
    explicit ImageView(QWidget* parent = nullptr);
    ~ImageView() override;

    void setImage(const QImage& image); ///< a null image empties the view
    /// Reads the file on another thread. The view is empty until then, and stays empty when the
    /// file is missing or no picture.
    void setImageWithFile(const ImageFile& file);
    const QImage& image() const;

    /// The place of the picture in the view's coordinates; may reach beyond the view.
    QRectF imageRect() const;

    QSize sizeHint() const override;

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
    std::unique_ptr<State> m_state;
};

} // namespace platform
