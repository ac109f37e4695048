#include "platform/ui/CollectionLayout.h"

#include <algorithm>

namespace platform {

void CollectionLayout::setSections(const std::vector<Section>& sections)
{
    m_sections.clear();
    m_sections.reserve(sections.size());
    for (const Section& section : sections) {
        m_sections.push_back({ section });
    }
    setWidth(m_width);
}

void CollectionLayout::setWidth(int width)
{
    m_width = width;
    const int available = std::max(width - 2 * spacing, 1);
    m_columns = std::max((available + spacing) / (leastItemSize.width() + spacing), 1);
    m_itemWidth = std::max((available - (m_columns - 1) * spacing) / m_columns, 1);
    const int used = m_columns * m_itemWidth + (m_columns - 1) * spacing;
    m_left = std::max((width - used) / 2, 0);

    int y = 0;
    m_rowCount = 0;
    for (Placed& section : m_sections) {
        section.top = y;
        section.rows = (section.items + m_columns - 1) / m_columns;
        section.firstRow = m_rowCount;
        m_rowCount += section.rows;
        section.rowsTop
            = y + section.headerHeight + (section.headerHeight > 0 ? spacing / 2 : spacing);
        y = section.rowsTop + section.rows * rowHeight();
    }
    m_contentHeight = y;
}

bool CollectionLayout::contains(IndexPath path) const
{
    return path.section >= 0 && path.section < sectionCount() && path.item >= 0
        && path.item < itemsIn(path.section);
}

QRect CollectionLayout::headerRect(int section) const
{
    const Placed& placed = at(section);
    return { 0, placed.top, m_width, placed.headerHeight };
}

QRect CollectionLayout::itemRect(IndexPath path) const
{
    const int column = path.item % m_columns;
    const int row = path.item / m_columns;
    const int left = m_left + column * (m_itemWidth + spacing);
    return { rightToLeft ? m_width - left - m_itemWidth : left,
        at(path.section).rowsTop + row * rowHeight(), m_itemWidth, leastItemSize.height() };
}

int CollectionLayout::sectionAt(int y) const
{
    const auto above = std::upper_bound(m_sections.begin(), m_sections.end(), y,
        [](int position, const Placed& section) { return position < section.top; });
    return std::max(static_cast<int>(above - m_sections.begin()) - 1, 0);
}

int CollectionLayout::sectionOfRow(int row) const
{
    const auto after = std::upper_bound(m_sections.begin(), m_sections.end(), row,
        [](int wanted, const Placed& section) { return wanted < section.firstRow; });
    return static_cast<int>(after - m_sections.begin()) - 1;
}

std::optional<IndexPath> CollectionLayout::itemAt(QPoint point) const
{
    if (m_sections.empty()) {
        return std::nullopt;
    }
    const int section = sectionAt(point.y());
    const Range items = itemsBetween(section, point.y(), point.y() + 1);
    for (int item = items.first; item < items.end; ++item) {
        if (itemRect({ section, item }).contains(point)) {
            return IndexPath{ section, item };
        }
    }
    return std::nullopt;
}

CollectionLayout::Range CollectionLayout::sectionsBetween(int top, int bottom) const
{
    if (m_sections.empty() || bottom <= top) {
        return {};
    }
    const int first = sectionAt(top);
    return { first, std::max(sectionAt(bottom - 1) + 1, first) };
}

CollectionLayout::Range CollectionLayout::itemsBetween(int section, int top, int bottom) const
{
    const Placed& placed = at(section);
    const int firstRow = std::max(top - placed.rowsTop, 0) / rowHeight();
    const int below = bottom - placed.rowsTop;
    const int endRow = below <= 0 ? 0 : (below - 1) / rowHeight() + 1;
    const int end = std::min(std::min(endRow, placed.rows) * m_columns, placed.items);
    return { std::min(firstRow * m_columns, end), end };
}

std::optional<IndexPath> CollectionLayout::firstItem() const
{
    for (int section = 0; section < sectionCount(); ++section) {
        if (itemsIn(section) > 0) {
            return IndexPath{ section, 0 };
        }
    }
    return std::nullopt;
}

std::optional<IndexPath> CollectionLayout::lastItem() const
{
    for (int section = sectionCount() - 1; section >= 0; --section) {
        if (itemsIn(section) > 0) {
            return IndexPath{ section, itemsIn(section) - 1 };
        }
    }
    return std::nullopt;
}

std::optional<IndexPath> CollectionLayout::next(IndexPath path) const
{
    if (path.item + 1 < itemsIn(path.section)) {
        return IndexPath{ path.section, path.item + 1 };
    }
    for (int section = path.section + 1; section < sectionCount(); ++section) {
        if (itemsIn(section) > 0) {
            return IndexPath{ section, 0 };
        }
    }
    return std::nullopt;
}

std::optional<IndexPath> CollectionLayout::previous(IndexPath path) const
{
    if (path.item > 0) {
        return IndexPath{ path.section, path.item - 1 };
    }
    for (int section = path.section - 1; section >= 0; --section) {
        if (itemsIn(section) > 0) {
            return IndexPath{ section, itemsIn(section) - 1 };
        }
    }
    return std::nullopt;
}

IndexPath CollectionLayout::movedByRows(IndexPath path, int rows, int column) const
{
    const int current = at(path.section).firstRow + path.item / m_columns;
    const int row = std::clamp(current + rows, 0, m_rowCount - 1);
    if (row == current) {
        return path;
    }
    const int section = sectionOfRow(row);
    const int item = (row - at(section).firstRow) * m_columns + column;
    return { section, std::min(item, itemsIn(section) - 1) };
}

} // namespace platform
