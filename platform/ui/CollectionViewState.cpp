#include "platform/ui/CollectionViewState.h"

#include "platform/ui/CollectionViewItem.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QEvent>
#include <QScopedValueRollback>
#include <QScrollBar>

#include <utility>

namespace platform {

namespace {

/// No accessible interface is created while no screen reader is active.
void announce(QObject* object, QAccessible::Event what)
{
    if (QAccessible::isActive()) {
        QAccessibleEvent event(object, what);
        QAccessible::updateAccessibility(&event);
    }
}

} // namespace

CollectionView::State::State(CollectionView& owner)
    : view(owner)
    , pool(owner.viewport())
{
}

void CollectionView::State::setNeedsReload()
{
    needsReload = true;
    QCoreApplication::postEvent(&view, new QEvent(QEvent::LayoutRequest));
}

void CollectionView::State::reloadIfNeeded()
{
    if (needsReload) {
        reload();
    }
}

void CollectionView::State::reload()
{
    if (asking) {
        setNeedsReload();
        return;
    }
    needsReload = false;
    giveBackAll();
    selected.reset();
    layout.setSections(askForSections());
    updateScrollBar();
    showVisible();
    announce(&view, QAccessible::ObjectReorder);
}

std::vector<CollectionLayout::Section> CollectionView::State::askForSections()
{
    std::vector<CollectionLayout::Section> sections;
    if (dataSource == nullptr) {
        return sections;
    }
    const QScopedValueRollback guard(asking, true);
    const int count = dataSource->numberOfSectionsInCollectionView();
    sections.reserve(static_cast<std::size_t>(count));
    for (int section = 0; section < count; ++section) {
        const double height
            = delegate == nullptr ? 0 : delegate->referenceSizeForHeaderInSection(section).height();
        sections.push_back({ dataSource->numberOfItemsInSection(section), qCeil(height) });
    }
    return sections;
}

void CollectionView::State::relayout()
{
    std::optional<std::pair<IndexPath, int>> anchor;
    if (offset() > 0 && !cells.empty()) {
        const IndexPath first = cells.begin()->first;
        anchor.emplace(first, layout.itemRect(first).top() - offset());
    }
    layout.rightToLeft = view.isRightToLeft();
    layout.setWidth(view.viewport()->width());
    updateScrollBar();
    if (anchor) {
        view.verticalScrollBar()->setValue(layout.itemRect(anchor->first).top() - anchor->second);
    }
    showVisible();
}

void CollectionView::State::updateScrollBar()
{
    QScrollBar& bar = *view.verticalScrollBar();
    const int height = view.viewport()->height();
    bar.setSingleStep(layout.rowHeight());
    bar.setPageStep(height);
    bar.setRange(0, qMax(layout.contentHeight() - height, 0));
}

int CollectionView::State::offset() const
{
    return view.verticalScrollBar()->value();
}

QRect CollectionView::State::visibleArea() const
{
    return view.viewport()->rect().translated(0, offset());
}

void CollectionView::State::giveBackAll()
{
    for (const auto& [path, cell] : cells) {
        pool.giveBack(cell);
    }
    cells.clear();
    for (const auto& [section, header] : headers) {
        pool.giveBack(header);
    }
    headers.clear();
}

void CollectionView::State::giveBackOutside(const QRect& area)
{
    std::erase_if(cells, [&](const auto& entry) {
        const bool outside = !layout.itemRect(entry.first).intersects(area);
        if (outside) {
            pool.giveBack(entry.second);
        }
        return outside;
    });
    std::erase_if(headers, [&](const auto& entry) {
        const bool outside = !layout.headerRect(entry.first).intersects(area);
        if (outside) {
            pool.giveBack(entry.second);
        }
        return outside;
    });
}

void CollectionView::State::showVisible()
{
    if (asking) {
        return;
    }
    const QRect area = visibleArea();
    giveBackOutside(area);
    if (dataSource != nullptr) {
        const QScopedValueRollback guard(asking, true);
        const auto sections = layout.sectionsBetween(area.top(), area.bottom() + 1);
        for (int section = sections.first; section < sections.end; ++section) {
            const QRect header = layout.headerRect(section);
            if (!header.isEmpty() && header.intersects(area)) {
                bindHeader(section);
            }
            const auto items = layout.itemsBetween(section, area.top(), area.bottom() + 1);
            for (int item = items.first; item < items.end; ++item) {
                bindItem({ section, item });
            }
        }
    }
    pool.hideIdle();
    showFocus();
}

void CollectionView::State::bindHeader(int section)
{
    QWidget*& header = headers[section];
    if (header == nullptr) {
        header = dataSource->viewForSupplementaryElementOfKind(view, { section, 0 });
    }
    header->setGeometry(layout.headerRect(section).translated(0, -offset()));
    header->show();
}

void CollectionView::State::bindItem(IndexPath path)
{
    const QRect place = layout.itemRect(path).translated(0, -offset());
    CollectionViewItem* cell = cellAt(path);
    if (cell == nullptr && place.intersects(view.viewport()->rect())) {
        cell = dataSource->itemForRepresentedObjectAtIndexPath(view, path);
        cells.emplace(path, cell);
        cell->setSelected(path == selected);
        announce(cell, QAccessible::NameChanged);
    }
    if (cell != nullptr) {
        cell->setGeometry(place);
        cell->show();
    }
}

CollectionViewItem* CollectionView::State::cellAt(IndexPath path) const
{
    const auto found = cells.find(path);
    return found != cells.end() ? found->second : nullptr;
}

CollectionViewItem* CollectionView::State::selectedCell() const
{
    return selected ? cellAt(*selected) : nullptr;
}

void CollectionView::State::scrollTo(IndexPath path)
{
    const QRect place = layout.itemRect(path);
    const bool inFirstRow = path.item < layout.columns();
    const int top
        = inFirstRow ? layout.headerRect(path.section).top() : place.top() - layout.spacing;
    const int bottom = place.bottom() + 1 + layout.spacing;
    const QRect area = visibleArea();
    if (top < area.top()) {
        view.verticalScrollBar()->setValue(top);
    } else if (bottom > area.bottom() + 1) {
        view.verticalScrollBar()->setValue(qMin(bottom - area.height(), top));
    }
}

void CollectionView::State::setSelection(std::optional<IndexPath> path)
{
    if (CollectionViewItem* before = selectedCell()) {
        before->setSelected(false);
        before->setShowsFocus(false);
    }
    selected = path;
    if (CollectionViewItem* now = selectedCell()) {
        now->setSelected(true);
    }
    showFocus();
}

void CollectionView::State::select(IndexPath path)
{
    reloadIfNeeded();
    if (!layout.contains(path)) {
        return;
    }
    setSelection(path);
    scrollTo(path);
    announceSelection();
    if (delegate != nullptr) {
        delegate->didSelectItemsAtIndexPaths({ path });
    }
}

void CollectionView::State::clickOnNothing()
{
    if (!selected) {
        return;
    }
    setSelection(std::nullopt);
    if (delegate != nullptr) {
        delegate->didSelectItemsAtIndexPaths({});
    }
}

std::optional<IndexPath> CollectionView::State::targetOf(int key)
{
    const int forwardKey = layout.rightToLeft ? Qt::Key_Left : Qt::Key_Right;
    const IndexPath here = *selected;
    const auto sideways = [this](std::optional<IndexPath> target, IndexPath otherwise) {
        const IndexPath reached = target.value_or(otherwise);
        goalColumn = reached.item % layout.columns();
        return reached;
    };
    switch (key) {
    case Qt::Key_Left:
    case Qt::Key_Right:
        return sideways(key == forwardKey ? layout.next(here) : layout.previous(here), here);
    case Qt::Key_Home:
        return sideways(layout.firstItem(), here);
    case Qt::Key_End:
        return sideways(layout.lastItem(), here);
    case Qt::Key_Up:
        return layout.movedByRows(here, -1, goalColumn);
    case Qt::Key_Down:
        return layout.movedByRows(here, 1, goalColumn);
    case Qt::Key_PageUp:
        return movedByPage(-1);
    case Qt::Key_PageDown:
        return movedByPage(1);
    default:
        return std::nullopt;
    }
}

IndexPath CollectionView::State::movedByPage(int direction) const
{
    const int start = layout.itemRect(*selected).top();
    IndexPath reached = layout.movedByRows(*selected, direction, goalColumn);
    for (;;) {
        const IndexPath next = layout.movedByRows(reached, direction, goalColumn);
        const int way = qAbs(layout.itemRect(next).top() - start);
        if (next == reached || way > view.viewport()->height()) {
            return reached;
        }
        reached = next;
    }
}

void CollectionView::State::showFocus()
{
    const bool shows = view.hasFocus() && usesKeyboard;
    for (const auto& [path, cell] : cells) {
        cell->setShowsFocus(shows && path == selected);
    }
    const bool around = shows && !layout.isEmpty() && selectedCell() == nullptr;
    if (around || around != ringAround) {
        ringAround = around;
        view.viewport()->update();
    }
}

void CollectionView::State::announceSelection() const
{
    CollectionViewItem* cell = selectedCell();
    if (cell == nullptr) {
        return;
    }
    announce(cell, QAccessible::Selection);
    if (view.hasFocus()) {
        announce(cell, QAccessible::Focus);
    }
}

} // namespace platform
