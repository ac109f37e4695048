#pragma once

#include <QFrame>
#include <QImage>

#include <memory>

class QMimeData;

namespace platform {

/// Shows one picture, which the user can replace: by dropping a file or picture data, by pasting
/// (picture data, a copied file, a file's path), or by choosing a file (Enter or double click).
/// A picture that is too large or cannot be read is refused with a caption in the well, and the
/// picture before it stays. Main thread.
class ImageWell : public QFrame {
    Q_OBJECT
public:
    explicit ImageWell(QWidget* parent = nullptr);
    ~ImageWell() override;

    const QImage& image() const; ///< null when the well is empty
    void setImage(const QImage& image); ///< does not emit imagePlaced()

    /// The reason why the last picture was refused, as shown in the well; empty when it was not.
    QString refusal() const;

    void chooseFile(); ///< opens a file dialog, modal to the window

    QSize sizeHint() const override;

Q_SIGNALS:
    /// The user has put a picture into the well: image() is that picture.
    void imagePlaced();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    struct State;

    void paste();
    void take(const QMimeData& mimeData);

    std::unique_ptr<State> m_state;
};

} // namespace platform
