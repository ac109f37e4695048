#include "platform/barcode/Locator.h"

#include <QLineF>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace platform {
namespace {

constexpr int smallestCell = 4; // pixels
constexpr int weakestEdge = 24; // edge strength
constexpr int timesMedian = 3; // the edges of a code are stronger than those of noise
// Percentages of edge pixels above which a cell is dense: a low one for codes with large modules,
// a high one for codes surrounded by print.
constexpr std::array densities{ 12, 35 };
constexpr std::size_t minimumCells = 12; // of a place

// Edge strength at a pixel that is not at the border.
int edgeAt(const PictureView& picture, int x, int y)
{
    const uchar* here = picture.row(y) + x;
    return std::abs(here[1] - here[-1]) + std::abs(here[picture.stride] - here[-picture.stride]);
}

/// A picture in square cells, with the number of edge pixels of each.
class Cells {
public:
    Cells(const PictureView& picture, int across);

    QList<Place> places();

private:
    std::size_t index(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width)
            + static_cast<std::size_t>(x);
    }
    bool isIn(int x, int y) const { return x >= 0 && y >= 0 && x < m_width && y < m_height; }
    void count();
    void markDense(int density);
    std::vector<QPoint> group(QPoint start);
    Place placeOf(const std::vector<QPoint>& group) const;
    bool isEdge(int x, int y) const;

    PictureView m_picture;
    int m_strongEdge;
    int m_cell;
    int m_width;
    int m_height;
    std::vector<int> m_edges;
    std::vector<char> m_dense;
};

Cells::Cells(const PictureView& picture, int across)
    : m_picture(picture)
    , m_strongEdge(std::max(weakestEdge, timesMedian * medianEdge(picture)))
    , m_cell(std::max(smallestCell, std::max(picture.width, picture.height) / across))
    , m_width(picture.width / m_cell)
    , m_height(picture.height / m_cell)
    , m_edges(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height))
    , m_dense(m_edges.size())
{
}

bool Cells::isEdge(int x, int y) const
{
    if (x < 1 || y < 1 || x >= m_picture.width - 1 || y >= m_picture.height - 1) {
        return false;
    }
    return edgeAt(m_picture, x, y) > m_strongEdge;
}

void Cells::count()
{
    for (int y = 1; y < std::min(m_height * m_cell, m_picture.height - 1); ++y) {
        const uchar* above = m_picture.row(y - 1);
        const uchar* here = m_picture.row(y);
        const uchar* below = m_picture.row(y + 1);
        int* edges = &m_edges[index(0, y / m_cell)];
        for (int cell = 0; cell < m_width; ++cell) {
            const int end = std::min((cell + 1) * m_cell, m_picture.width - 1);
            int sum = 0;
            for (int x = std::max(1, cell * m_cell); x < end; ++x) {
                sum += std::abs(here[x + 1] - here[x - 1]) + std::abs(below[x] - above[x])
                        > m_strongEdge
                    ? 1
                    : 0;
            }
            edges[cell] += sum;
        }
    }
}

// A cell counts only when most cells around it are dense as well, unlike those of lines and of
// outlines.
void Cells::markDense(int density)
{
    const int threshold = m_cell * m_cell * density / 100;
    constexpr int majorityOfNine = 5;
    for (int y = 0; y < m_height; ++y) {
        for (int x = 0; x < m_width; ++x) {
            int dense = 0;
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    dense += isIn(x + dx, y + dy) && m_edges[index(x + dx, y + dy)] > threshold;
                }
            }
            m_dense[index(x, y)] = dense >= majorityOfNine ? 1 : 0;
        }
    }
}

std::vector<QPoint> Cells::group(QPoint start)
{
    std::vector<QPoint> found{ start };
    m_dense[index(start.x(), start.y())] = 0;
    for (std::size_t i = 0; i < found.size(); ++i) {
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                const QPoint next = found[i] + QPoint(dx, dy);
                if (isIn(next.x(), next.y()) && m_dense[index(next.x(), next.y())] != 0) {
                    m_dense[index(next.x(), next.y())] = 0;
                    found.push_back(next);
                }
            }
        }
    }
    return found;
}

double cross(QPointF a, QPointF b)
{
    return a.x() * b.y() - a.y() * b.x();
}

// Convex hull by Andrew's monotone chain algorithm.
std::vector<QPointF> hullOf(std::vector<QPointF> points)
{
    std::sort(points.begin(), points.end(),
        [](QPointF a, QPointF b) { return a.x() < b.x() || (a.x() == b.x() && a.y() < b.y()); });
    std::vector<QPointF> hull;
    const auto add = [&hull](QPointF point, std::size_t keep) {
        while (hull.size() >= keep + 2
            && cross(hull.back() - hull[hull.size() - 2], point - hull.back()) <= 0) {
            hull.pop_back();
        }
        hull.push_back(point);
    };
    for (const QPointF& point : points) {
        add(point, 0);
    }
    const std::size_t lower = hull.size() - 1;
    for (auto point = points.rbegin() + 1; point != points.rend(); ++point) {
        add(*point, lower);
    }
    hull.pop_back();
    return hull;
}

// Removes the side that begins at corner i: returns the intersection of its neighbours and the area
// that this adds, or a negative area when the neighbours do not intersect outside the polygon.
std::pair<QPointF, double> withoutSide(const std::vector<QPointF>& corners, std::size_t i)
{
    const std::size_t n = corners.size();
    const QPointF from = corners[i];
    const QPointF to = corners[(i + 1) % n];
    const QPointF before = from - corners[(i + n - 1) % n];
    const QPointF after = corners[(i + 2) % n] - to;
    const double turn = cross(before, after);
    if (turn <= 0) {
        return { {}, -1 };
    }
    const double along = cross(to - from, after) / turn;
    const QPointF meeting = from + before * along;
    return { meeting, std::abs(cross(to - from, meeting - from)) / 2 };
}

// Reduces a hull to a quadrilateral around it by removing, one after another, the side that adds
// the least area.
QPolygonF quadrilateralAround(std::vector<QPointF> corners)
{
    while (corners.size() > 4) {
        std::size_t best = corners.size();
        std::pair<QPointF, double> least;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const auto candidate = withoutSide(corners, i);
            if (candidate.second >= 0
                && (best == corners.size() || candidate.second < least.second)) {
                best = i;
                least = candidate;
            }
        }
        if (best == corners.size()) {
            return {};
        }
        corners[best] = least.first;
        corners.erase(corners.begin() + static_cast<std::ptrdiff_t>((best + 1) % corners.size()));
    }
    return corners.size() == 4 ? QPolygonF(QList<QPointF>(corners.begin(), corners.end()))
                               : QPolygonF();
}

// Uses the upright rectangle when the quadrilateral has corners far outside the hull, which happens
// when the hull is not shaped like a code.
QPolygonF outlineOf(const std::vector<QPointF>& hull)
{
    const QRectF box = QPolygonF(QList<QPointF>(hull.begin(), hull.end())).boundingRect();
    const QPolygonF outline = quadrilateralAround(hull);
    const double slack = std::min(box.width(), box.height()) / 4;
    const bool isNear = !outline.isEmpty()
        && box.adjusted(-slack, -slack, slack, slack).contains(outline.boundingRect());
    return isNear ? outline
                  : QPolygonF{ box.topLeft(), box.topRight(), box.bottomRight(), box.bottomLeft() };
}

Place Cells::placeOf(const std::vector<QPoint>& group) const
{
    Place place;
    double edges = 0;
    std::vector<QPointF> ends;
    for (const QPoint cell : group) {
        edges += m_edges[index(cell.x(), cell.y())];
    }
    place.likelihood = edges * edges / static_cast<double>(group.size());
    // Only the first and the last edge of each pixel row can be on the hull. The rows include the
    // neighbours of the group's cells, since markDense() drops the outermost dense cells.
    std::vector<QPoint> spans(static_cast<std::size_t>(m_height), QPoint(m_width, -1));
    for (const QPoint cell : group) {
        for (int dy = -1; dy <= 1; ++dy) {
            const int y = cell.y() + dy;
            if (isIn(cell.x(), y)) {
                QPoint& span = spans[static_cast<std::size_t>(y)];
                span.setX(std::min(span.x(), std::max(0, cell.x() - 1)));
                span.setY(std::max(span.y(), std::min(m_width - 1, cell.x() + 1)));
            }
        }
    }
    for (int y = 0; y < m_height; ++y) {
        const QPoint span = spans[static_cast<std::size_t>(y)];
        for (int row = y * m_cell; span.y() >= 0 && row < (y + 1) * m_cell; ++row) {
            int left = span.x() * m_cell;
            int right = (span.y() + 1) * m_cell - 1;
            while (left < right && !isEdge(left, row)) {
                ++left;
            }
            while (right > left && !isEdge(right, row)) {
                --right;
            }
            if (left < right) {
                ends.emplace_back(left, row);
                ends.emplace_back(right + 1, row + 1);
            }
        }
    }
    if (ends.size() > 2) {
        place.outline = outlineOf(hullOf(std::move(ends)));
    }
    return place;
}

// Whether the same place was found at another density.
bool isSame(const Place& a, const Place& b)
{
    const QRectF first = a.outline.boundingRect();
    const QRectF second = b.outline.boundingRect();
    const QRectF common = first & second;
    const QRectF both = first | second;
    return common.width() * common.height() > 0.7 * both.width() * both.height();
}

QList<Place> Cells::places()
{
    count();
    QList<Place> found;
    for (const int density : densities) {
        markDense(density);
        for (int y = 0; y < m_height; ++y) {
            for (int x = 0; x < m_width; ++x) {
                if (m_dense[index(x, y)] == 0) {
                    continue;
                }
                const auto cells = group({ x, y });
                if (cells.size() < minimumCells) {
                    continue;
                }
                const Place place = placeOf(cells);
                const bool isKnown = std::any_of(found.begin(), found.end(),
                    [&place](const Place& other) { return isSame(place, other); });
                if (!isKnown && !place.outline.isEmpty()) {
                    found.append(place);
                }
            }
        }
    }
    return found;
}

} // namespace

QList<Place> likelyPlaces(const PictureView& picture, int cellsAcross, qsizetype maximum)
{
    QList<Place> places = Cells(picture, cellsAcross).places();
    std::sort(places.begin(), places.end(),
        [](const Place& a, const Place& b) { return a.likelihood > b.likelihood; });
    places.resize(std::min(maximum, places.size()));
    return places;
}

int medianEdge(const PictureView& picture)
{
    constexpr int spacing = 7;
    std::array<int, 2 * 255 + 1> counts{};
    int all = 0;
    for (int y = 1; y < picture.height - 1; y += spacing) {
        for (int x = 1; x < picture.width - 1; x += spacing) {
            ++counts[static_cast<std::size_t>(edgeAt(picture, x, y))];
            ++all;
        }
    }
    int edge = 0;
    for (int below = counts[0]; 2 * below < all;) {
        below += counts[static_cast<std::size_t>(++edge)];
    }
    return edge;
}

} // namespace platform
