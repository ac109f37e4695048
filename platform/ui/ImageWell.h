#pragma once

#include <QFrame>
#include <QImage>

#include <memory>

class QMimeData;

namespace platform {

/// A well that shows one picture and lets the user put one there: by dropping a file or picture
/// data, by pasting (picture data, a copied file, a file's path), or by choosing a file (Enter or
/// double click). Reading a file is bounded; one that is too large or no picture is refused with
/// a caption in the well, and the picture before it stays. Main thread.
class ImageWell : public QFrame {
    Q_OBJECT
public:
    explicit ImageWell(QWidget* parent = nullptr);
    ~ImageWell() override;

    const QImage& image() const; ///< null when the well is empty
    void setImage(const QImage& image); ///< does not send the action

    /// Why the last picture was refused; empty when it was not. Shown in the well.
    QString refusal() const;
    /// A large file is being read.
    bool isReading() const;

    void paste(); ///< what the clipboard holds
    void chooseFile(); ///< opens a file dialog, modal to the window

    QSize sizeHint() const override;

Q_SIGNALS:
    /// The user has put a picture into the well, which already holds it.
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

    void take(const QMimeData& mimeData);

    std::unique_ptr<State> m_state;
};

} // namespace platform
