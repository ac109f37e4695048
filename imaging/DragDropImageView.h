#pragma once

#include "platform/ui/ScalablePicture.h"

#include <QWidget>

#include <optional>

class QMimeData;

namespace vellumcap {

/// Wants to know of the drops onto a well.
class DragDropImageViewDelegate {
public:
    virtual ~DragDropImageViewDelegate() = default;
    /// `path` is that of the file dropped, nullopt when the drop carried none.
    virtual void dropComplete(const std::optional<QString>& path);
};

/// A well that takes a picture dropped onto it, and gives its own away by dragging: as the file
/// "capture.png" in the cache folder, which every drag overwrites, so that the receiver may copy
/// it when the well is long gone. Drags begin with the press of the button, in an inactive window
/// too. Main thread.
class DragDropImageView : public QWidget {
    Q_OBJECT
public:
    enum class Origin { WindowDescription, Code };

    /// A window description makes a well that allows both directions.
    explicit DragDropImageView(QWidget* parent = nullptr);
    /// A well made by code allows neither and accepts no drops: whoever makes it has to
    /// setAllowDrag(), or setAllowDrop() together with setAcceptDrops().
    explicit DragDropImageView(Origin origin, QWidget* parent = nullptr);

    bool allowDrag() const { return m_allowDrag; }
    void setAllowDrag(bool allow) { m_allowDrag = allow; }
    bool allowDrop() const { return m_allowDrop; }
    void setAllowDrop(bool allow) { m_allowDrop = allow; }

    /// Borrowed; has to outlive the view or be taken back.
    void setDelegate(DragDropImageViewDelegate* delegate) { m_delegate = delegate; }

    const QImage& image() const { return m_picture.image(); }
    void setImage(const QImage& image); ///< a null image empties the well
    /// The file last dropped; nullopt when the last drop carried none.
    const std::optional<QString>& path() const { return m_path; }
    bool isHighlighted() const { return m_highlight; } ///< an accepted drag hovers

    /// The two halves of a drop. The first ends the highlight and says whether there is a picture;
    /// the second takes picture and path, and whatever there was, the drop has succeeded. `source`
    /// is what the drag came from in this process, nullptr otherwise.
    bool prepareForDragOperation(const QMimeData& offered);
    bool performDragOperation(const QMimeData& offered, const QObject* source);

    /// Puts the picture (image/tiff) or the view's drawing (application/pdf) into an item that
    /// named the view as its provider; other types are left out.
    void provideData(QMimeData& item, const QString& type);

    /// The frame of `window` when its contents are exactly the picture's size, from where this
    /// view's window is now.
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
    platform::ScalablePicture m_preview; ///< of a picture that hovers, out of another well
    bool m_highlight = false;
    bool m_allowDrag = false;
    bool m_allowDrop = false;
    DragDropImageViewDelegate* m_delegate = nullptr;
    std::optional<QString> m_path;
};

} // namespace vellumcap
