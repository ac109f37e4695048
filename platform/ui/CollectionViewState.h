#pragma once

#include "platform/ui/CollectionLayout.h"
#include "platform/ui/CollectionView.h"
#include "platform/ui/ReusePool.h"

#include <map>
#include <optional>
#include <vector>

namespace platform {

/// What a collection view knows: the layout, the views that exist for what can be seen of it, and
/// the selection.
struct CollectionView::State {
    explicit State(CollectionView& owner);

    void setNeedsReload(); ///< when events are handled again
    void reload();
    void reloadIfNeeded();
    /// After a change of width, direction or measures; what was on top stays there.
    void relayout();
    void showVisible(); ///< makes and reuses views until what can be seen is there

    int offset() const;
    QRect visibleArea() const; ///< in content coordinates
    void scrollTo(IndexPath path);

    void select(IndexPath path); ///< the delegate comes last and may do anything
    void setSelection(std::optional<IndexPath> path);
    void clickOnNothing();
    /// Where a navigation key leads from the selected item; nothing for other keys.
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
    int goalColumn = 0; ///< where Up and Down lead as far as rows reach
    double wheelRest = 0; ///< fractions of a pixel that the wheel has turned
    bool usesKeyboard = false; ///< the focus is shown to those who move it by keys
    bool ringAround = false; ///< the view itself shows the focus, as no visible cell does
    bool needsReload = false;
    bool asking = false; ///< the data source is being asked, and must not change what is asked for

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
