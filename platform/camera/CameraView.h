#pragma once

#include <QString>
#include <QWidget>

#include <memory>

namespace platform {

class CaptureVideoPreviewLayer;

/// Shows the whole picture of a preview layer, centred, or a caption in its place. The caption is
/// also the accessible description. Main thread.
class CameraView : public QWidget {
    Q_OBJECT
public:
    explicit CameraView(QWidget* parent = nullptr);
    ~CameraView() override;

    void setLayer(std::shared_ptr<CaptureVideoPreviewLayer> layer); ///< null empties the view
    /// Plain text that is shown instead of the picture; empty shows the picture.
    void setCaption(const QString& caption);
    const QString& caption() const { return m_caption; }

    /// The area of the picture in the view's coordinates; empty when none is shown.
    QRectF pictureRect() const;

    QSize sizeHint() const override;

Q_SIGNALS:
    void pictureChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void fitLayer();
    QString shownText() const; ///< in place of the picture; empty when the picture is shown
    void updateText();

    std::shared_ptr<CaptureVideoPreviewLayer> m_layer;
    QString m_caption;
};

} // namespace platform
