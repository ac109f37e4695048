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

enum class SupplementaryKind { SectionHeader, SectionFooter };

/// What a collection view shows. Borrowed by the view; outlives it or is unset.
class CollectionViewDataSource {
public:
    virtual ~CollectionViewDataSource() = default;
    virtual int numberOfSectionsInCollectionView(CollectionView& collectionView) const = 0;
    virtual int numberOfItemsInSection(CollectionView& collectionView, int section) const = 0;
    /// A cell made by CollectionView::makeItem, filled for that place.
    virtual CollectionViewItem* itemForRepresentedObjectAtIndexPath(
        CollectionView& collectionView, IndexPath indexPath)
        = 0;
    /// A view made by CollectionView::makeSupplementaryView.
    virtual QWidget* viewForSupplementaryElementOfKind(
        CollectionView& collectionView, SupplementaryKind kind, IndexPath indexPath)
        = 0;
    /// What a screen reader calls the item; asked for visible cells only.
    virtual QString accessibleNameOfItem(IndexPath indexPath) const;
};

class CollectionViewDelegate {
public:
    virtual ~CollectionViewDelegate() = default;
    virtual void didSelectItemsAtIndexPaths(
        CollectionView& collectionView, const QSet<IndexPath>& indexPaths)
        = 0;
    /// In the vertical flow the height counts; the header is as wide as the view.
    virtual QSizeF referenceSizeForHeaderInSection(
        const CollectionView& collectionView, int section) const = 0;
};

/// Sections of equal cells under headers, in a vertical flow. Only cells that can be seen exist;
/// those that leave are reused. One item can be selected, by click, arrow keys, Home, End, Page
/// Up and Page Down. Main thread.
class CollectionView : public QAbstractScrollArea {
    Q_OBJECT
public:
    explicit CollectionView(QWidget* parent = nullptr);
    ~CollectionView() override;

    void setDataSource(CollectionViewDataSource* dataSource);
    void setDelegate(CollectionViewDelegate* delegate);
    CollectionViewDataSource* dataSource() const;
    CollectionViewDelegate* delegate() const;

    void registerItem(const QString& identifier, std::function<CollectionViewItem*()> make);
    void registerSupplementaryView(
        SupplementaryKind kind, const QString& identifier, std::function<QWidget*()> make);
    /// For the data source: a new or reused view, owned by the collection view.
    /// Null when nothing is registered under the identifier.
    CollectionViewItem* makeItem(const QString& identifier, IndexPath indexPath);
    QWidget* makeSupplementaryView(
        SupplementaryKind kind, const QString& identifier, IndexPath indexPath);

    /// The least size of a cell; as many columns as fit, stretched to the width.
    void setItemSize(QSize least);
    void setSpacing(int pixels);

    /// Asks the data source anew. The selection is dropped, the place of scrolling kept as far as
    /// the new content reaches. A new data source or delegate is asked by itself, as soon as
    /// events are handled again or anything here is wanted of it.
    void reloadData();

    QSet<IndexPath> selectionIndexPaths() const;
    /// Tells the delegate, like the user's own selection. No effect where there is no item.
    void selectItem(IndexPath indexPath);
    void deselectAll(); ///< tells nobody
    void scrollToItem(IndexPath indexPath);

    CollectionViewItem* itemAtIndexPath(IndexPath indexPath) const; ///< null unless visible
    QList<IndexPath> indexPathsForVisibleItems() const; ///< in reading order
    /// Where the cell stands now; nothing for one that waits to be reused.
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
