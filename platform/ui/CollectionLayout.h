#pragma once

#include "platform/ui/IndexPath.h"

#include <QRect>
#include <QSize>

#include <optional>
#include <vector>

namespace platform {

/// The layout of a collection view: sections one below the other, each with a header of the full
/// width and rows of equal cells. Takes time proportional to the number of sections, not of items.
/// Coordinates are device-independent pixels from the top left of the content. Knows no widget.
class CollectionLayout {
public:
    struct Section {
        int items = 0;
        int headerHeight = 0;
    };
    struct Range {
        int first = 0;
        int end = 0;
    };

    QSize leastItemSize{ 160, 180 };
    int spacing = 12;
    bool rightToLeft = false; ///< mirrors the cells horizontally

    void setSections(const std::vector<Section>& sections);
    void setWidth(int width); ///< also to be called after a change of the fields above

    int columns() const { return m_columns; }
    int rowHeight() const { return leastItemSize.height() + spacing; }
    int contentHeight() const { return m_contentHeight; }
    int sectionCount() const { return static_cast<int>(m_sections.size()); }
    int itemsIn(int section) const { return at(section).items; }
    bool isEmpty() const { return !firstItem().has_value(); }
    bool contains(IndexPath path) const;

    QRect headerRect(int section) const;
    QRect itemRect(IndexPath path) const;
    std::optional<IndexPath> itemAt(QPoint point) const;

    Range sectionsBetween(int top, int bottom) const; ///< those that intersect [top, bottom)
    Range itemsBetween(int section, int top, int bottom) const; ///< whole rows

    std::optional<IndexPath> firstItem() const;
    std::optional<IndexPath> lastItem() const;
    std::optional<IndexPath> next(IndexPath path) const;
    std::optional<IndexPath> previous(IndexPath path) const;
    /// The item `rows` rows further down (up when negative), in `column` or in the last column of
    /// that row. Stops at the first and the last row.
    IndexPath movedByRows(IndexPath path, int rows, int column) const;

private:
    struct Placed : Section {
        int top = 0; ///< of the header
        int rowsTop = 0;
        int rows = 0;
        int firstRow = 0; ///< number of rows in the sections before
    };

    const Placed& at(int section) const { return m_sections[static_cast<std::size_t>(section)]; }
    int sectionAt(int y) const; ///< the last that begins at or above y
    int sectionOfRow(int row) const;

    std::vector<Placed> m_sections;
    int m_width = 0;
    int m_columns = 1;
    int m_itemWidth = 1;
    int m_left = 0;
    int m_contentHeight = 0;
    int m_rowCount = 0;
};

} // namespace platform
