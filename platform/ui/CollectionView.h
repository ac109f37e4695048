#pragma once

#include "platform/ui/IndexPath.h"

#include <QAbstractScrollArea>
#include <QSet>
#include <QSizeF>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace platform {

class CollectionView;
class CollectionViewItem;

/// What a collection view shows. The view does not own it; it outlives the view or is unset.
class CollectionViewDataSource {
public:
    virtual ~CollectionViewDataSource() = default;
    virtual int numberOfSectionsInCollectionView() const = 0;
    virtual int numberOfItemsInSection(int section) const = 0;
    /// Returns a cell made by CollectionView::makeItem(), filled for that place.
    virtual CollectionViewItem* itemForRepresentedObjectAtIndexPath(
        CollectionView& collectionView, IndexPath indexPath)
        = 0;
    /// Returns the header of the section, made by CollectionView::makeSupplementaryView(). Only
    /// called for sections whose header has a height.
    virtual QWidget* viewForSupplementaryElementOfKind(
        CollectionView& collectionView, IndexPath indexPath)
        = 0;
    /// The item's name for screen readers; empty for the text of the cell. Only called for
    /// visible cells.
    virtual QString accessibleNameOfItem(IndexPath) const { return {}; }
};

/// The view does not own its delegate, which outlives the view or is unset.
class CollectionViewDelegate {
public:
    virtual ~CollectionViewDelegate() = default;
    virtual void didSelectItemsAtIndexPaths(const QSet<IndexPath>& indexPaths) = 0;
    /// Only the height is used: the header is as wide as the view.
    virtual QSizeF referenceSizeForHeaderInSection(int section) const = 0;
};

/// Sections of equal cells under headers, in a vertical flow. Only visible cells exist; cells that
/// leave the visible area are reused. One item can be selected, by click, arrow keys, Home, End,
/// Page Up and Page Down. Main thread.
class CollectionView : public QAbstractScrollArea {
    Q_OBJECT
public:
    explicit CollectionView(QWidget* parent = nullptr);
    ~CollectionView() override;

    void setDataSource(CollectionViewDataSource* dataSource);
    void setDelegate(CollectionViewDelegate* delegate);
    CollectionViewDataSource* dataSource() const;

    void registerItem(const QString& identifier, std::function<CollectionViewItem*()> make);
    void registerSupplementaryView(const QString& identifier, std::function<QWidget*()> make);
    /// For the data source: a new or reused view, owned by the collection view. The identifier
    /// must be registered.
    CollectionViewItem* makeItem(const QString& identifier, IndexPath indexPath);
    QWidget* makeSupplementaryView(const QString& identifier);

    /// The minimum size of a cell. There are as many columns as fit, and they share the width.
    void setItemSize(QSize least);
    void setSpacing(int pixels);

    /// Reads everything from the data source again. Clears the selection and keeps the scroll
    /// position as far as the new content reaches. A new data source or delegate is read without
    /// this call, in the next run of the event loop or when a member function needs its data.
    void reloadData();

    QSet<IndexPath> selectionIndexPaths() const;
    /// Notifies the delegate, as a selection by the user does. No effect where there is no item.
    void selectItem(IndexPath indexPath);

    CollectionViewItem* itemAtIndexPath(IndexPath indexPath) const; ///< null unless visible
    /// Nothing for a cell that is not in use.
    std::optional<IndexPath> indexPathForItem(const CollectionViewItem* item) const;
    QList<QWidget*> visibleViews() const; ///< headers and cells, in reading order

protected:
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace platform
