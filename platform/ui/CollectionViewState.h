#pragma once

#include "platform/ui/CollectionLayout.h"
#include "platform/ui/CollectionView.h"
#include "platform/ui/ReusePool.h"

#include <map>
#include <optional>
#include <vector>

namespace platform {

/// The state of a collection view: the layout, the views of the visible part, and the selection.
struct CollectionView::State {
    explicit State(CollectionView& owner);

    void setNeedsReload(); ///< reloads in the next run of the event loop
    void reload();
    void reloadIfNeeded();
    /// After a change of width, direction or item size; the topmost visible item stays in place.
    void relayout();
    void showVisible(); ///< makes or reuses the views of the visible area

    int offset() const;
    QRect visibleArea() const; ///< in content coordinates
    void scrollTo(IndexPath path);

    void select(IndexPath path); ///< calls the delegate last, which may change everything
    void setSelection(std::optional<IndexPath> path);
    void clickOnNothing();
    /// The item to which a navigation key moves the selection; nothing for other keys.
    std::optional<IndexPath> targetOf(int key);
    CollectionViewItem* cellAt(IndexPath path) const;
    CollectionViewItem* selectedCell() const;
    void showFocus();
    void announceSelection() const;

    CollectionView& view;
    CollectionViewDataSource* dataSource = nullptr;
    CollectionViewDelegate* delegate = nullptr;
    CollectionLayout layout;
    ReusePool pool;
    std::map<IndexPath, CollectionViewItem*> cells;
    std::map<int, QWidget*> headers;
    std::optional<IndexPath> selected;
    int goalColumn = 0; ///< the column that Up and Down aim at; a short row ends before it
    double wheelRest = 0; ///< the fraction of a pixel that is not scrolled yet
    bool usesKeyboard = false; ///< the focus is drawn only while the keyboard is used
    bool ringAround = false; ///< the focus ring is around the view, as no visible cell has it
    bool needsReload = false;
    bool asking = false; ///< the data source is being called: no reload before it returns

private:
    std::vector<CollectionLayout::Section> askForSections();
    void giveBackAll();
    void giveBackOutside(const QRect& area);
    void bindHeader(int section);
    void bindItem(IndexPath path);
    void updateScrollBar();
    IndexPath movedByPage(int direction) const;
};

} // namespace platform
