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
    /// `path`: the dropped file; nullopt if the drop had none.
    virtual void dropComplete(const std::optional<QString>& path);
};

/// An image well: accepts a dropped picture, and offers its own picture for dragging. It offers the
/// file "capture.png" in the cache folder, which each drag overwrites; the receiver can copy it
/// after the well has been destroyed. A drag starts at the press of the button, in an inactive
/// window too. Main thread.
class DragDropImageView : public QWidget {
    Q_OBJECT
public:
    enum class Origin { WindowDescription, Code };

    /// For window descriptions: allows dragging and dropping.
    explicit DragDropImageView(QWidget* parent = nullptr);
    /// Origin::Code allows neither and accepts no drops. The caller enables them with
    /// setAllowDrag(), or with both setAllowDrop() and setAcceptDrops().
    explicit DragDropImageView(Origin origin, QWidget* parent = nullptr);

    bool allowDrag() const { return m_allowDrag; }
    void setAllowDrag(bool allow) { m_allowDrag = allow; }
    bool allowDrop() const { return m_allowDrop; }
    void setAllowDrop(bool allow) { m_allowDrop = allow; }

    /// Not owned; must outlive the view or be reset to nullptr.
    void setDelegate(DragDropImageViewDelegate* delegate) { m_delegate = delegate; }

    const QImage& image() const { return m_picture.image(); }
    void setImage(const QImage& image); ///< a null image empties the well
    /// The file of the last drop; nullopt if that drop had none.
    const std::optional<QString>& path() const { return m_path; }
    bool isHighlighted() const { return m_highlight; } ///< an accepted drag is over the view

    /// The two steps of a drop. The first ends the highlight and returns whether there is a
    /// picture. The second takes picture and path, and always returns true. `source` is the
    /// drag's source if it is in this process, else nullptr.
    bool prepareForDragOperation(const QMimeData& offered);
    bool performDragOperation(const QMimeData& offered, const QObject* source);

    /// Adds the picture (image/tiff) or the drawn view (application/pdf) to `item`. Other types are
    /// ignored.
    void provideData(QMimeData& item, const QString& type);

    /// The frame of `window` with contents of the picture's size, where this view's window is.
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
    platform::ScalablePicture m_preview; ///< of a drag from another well over this one
    bool m_highlight = false;
    bool m_allowDrag = false;
    bool m_allowDrop = false;
    DragDropImageViewDelegate* m_delegate = nullptr;
    std::optional<QString> m_path;
};

} // namespace vellumcap
