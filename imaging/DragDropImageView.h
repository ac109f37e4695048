#pragma once

#include "platform/ui/ScalablePicture.h"

#include <QWidget>

#include <optional>

class QMimeData;

namespace vellumcap {

/// Is notified of drops onto a well.
class DragDropImageViewDelegate {
public:
    virtual ~DragDropImageViewDelegate() = default;
    /// `path` is the dropped file, nullopt for a drop without a file.
    virtual void dropComplete(const std::optional<QString>& path);
};

/// A well that accepts dropped pictures and drags its own picture out. The drag offers the file
/// "capture.png" in the cache folder, which each drag overwrites: the receiver can read it after
/// the well is destroyed. A drag begins with the press of the button, in an inactive window too.
/// Main thread.
class DragDropImageView : public QWidget {
    Q_OBJECT
public:
    enum class Origin { WindowDescription, Code };

    /// For window descriptions: allows drags and drops.
    explicit DragDropImageView(QWidget* parent = nullptr);
    /// Origin::Code: allows neither. setAllowDrag() allows drags; setAllowDrop() and
    /// setAcceptDrops() together allow drops.
    explicit DragDropImageView(Origin origin, QWidget* parent = nullptr);

    bool allowDrag() const { return m_allowDrag; }
    void setAllowDrag(bool allow) { m_allowDrag = allow; }
    bool allowDrop() const { return m_allowDrop; }
    void setAllowDrop(bool allow) { m_allowDrop = allow; }

    /// Not owned; must outlive the view, or be reset to null.
    void setDelegate(DragDropImageViewDelegate* delegate) { m_delegate = delegate; }

    const QImage& image() const { return m_picture.image(); }
    void setImage(const QImage& image); ///< a null image empties the well
    /// The last dropped file; nullopt if the last drop had no file.
    const std::optional<QString>& path() const { return m_path; }
    bool isHighlighted() const { return m_highlight; } ///< an accepted drag is over the well

    /// The two steps of a drop. The first ends the highlight and returns whether there is a
    /// picture. The second takes picture and path and always returns true. `source` is the object
    /// in this process that began the drag, or null.
    bool prepareForDragOperation(const QMimeData& offered);
    bool performDragOperation(const QMimeData& offered, const QObject* source);

    /// Adds the picture (image/tiff) or the view's drawing (application/pdf) to `item`; other types
    /// are ignored.
    void provideData(QMimeData& item, const QString& type);

    /// The frame of `window` with contents of exactly the picture's size, at the position of this
    /// view's window.
    QRect windowWillUseStandardFrame(const QWidget& window, const QRect& defaultFrame) const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void setHighlight(bool highlight);
    QPixmap dragPixmap() const;

    platform::ScalablePicture m_picture;
    platform::ScalablePicture
        m_preview; ///< of a drag from another well, shown in place of m_picture
    bool m_highlight = false;
    bool m_allowDrag = false;
    bool m_allowDrop = false;
    DragDropImageViewDelegate* m_delegate = nullptr;
    std::optional<QString> m_path;
};

} // namespace vellumcap
