#include "platform/ui/CollectionView.h"

#include "platform/ui/CollectionViewItem.h"
#include "platform/ui/CollectionViewState.h"
#include "platform/ui/Drawing.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

QString itemKind(const QString& identifier)
{
    return u"item "_s + identifier;
}

QString headerKind(const QString& identifier)
{
    return u"header "_s + identifier;
}

} // namespace

CollectionView::CollectionView(QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_state(std::make_unique<State>(*this))
{
    setFocusPolicy(Qt::StrongFocus);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
}

CollectionView::~CollectionView() = default;

void CollectionView::setDataSource(CollectionViewDataSource* dataSource)
{
    if (m_state->dataSource == dataSource) {
        return;
    }
    m_state->dataSource = nullptr; // gives the cells back without calling a data source
    reloadData();
    m_state->dataSource = dataSource;
    m_state->setNeedsReload();
}

void CollectionView::setDelegate(CollectionViewDelegate* delegate)
{
    m_state->delegate = delegate;
    m_state->setNeedsReload();
}

CollectionViewDataSource* CollectionView::dataSource() const
{
    return m_state->dataSource;
}

void CollectionView::registerItem(
    const QString& identifier, std::function<CollectionViewItem*()> make)
{
    m_state->pool.setMaker(itemKind(identifier), std::move(make));
}

void CollectionView::registerSupplementaryView(
    const QString& identifier, std::function<QWidget*()> make)
{
    m_state->pool.setMaker(headerKind(identifier), std::move(make));
}

CollectionViewItem* CollectionView::makeItem(const QString& identifier, IndexPath indexPath)
{
    const ReusePool::Taken taken = m_state->pool.take(itemKind(identifier));
    auto* item = static_cast<CollectionViewItem*>(taken.view);
    if (m_state->layout.contains(indexPath)) {
        item->resize(m_state->layout.itemRect(indexPath).size());
    }
    if (taken.isNew) {
        item->viewDidLoad();
    } else {
        item->prepareForReuse();
    }
    return item;
}

QWidget* CollectionView::makeSupplementaryView(const QString& identifier)
{
    return m_state->pool.take(headerKind(identifier)).view;
}

void CollectionView::setItemSize(QSize least)
{
    m_state->layout.leastItemSize = least.expandedTo(QSize(1, 1));
    m_state->relayout();
}

void CollectionView::setSpacing(int pixels)
{
    m_state->layout.spacing = qMax(pixels, 0);
    m_state->relayout();
}

void CollectionView::reloadData()
{
    m_state->reload();
}

QSet<IndexPath> CollectionView::selectionIndexPaths() const
{
    return m_state->selected ? QSet<IndexPath>{ *m_state->selected } : QSet<IndexPath>();
}

void CollectionView::selectItem(IndexPath indexPath)
{
    m_state->goalColumn = indexPath.item % m_state->layout.columns();
    m_state->select(indexPath);
}

CollectionViewItem* CollectionView::itemAtIndexPath(IndexPath indexPath) const
{
    m_state->reloadIfNeeded();
    return m_state->cellAt(indexPath);
}

std::optional<IndexPath> CollectionView::indexPathForItem(const CollectionViewItem* item) const
{
    for (const auto& [path, cell] : m_state->cells) {
        if (cell == item) {
            return path;
        }
    }
    return std::nullopt;
}

QList<QWidget*> CollectionView::visibleViews() const
{
    m_state->reloadIfNeeded();
    std::map<IndexPath, QWidget*> views;
    for (const auto& [section, header] : m_state->headers) {
        views.emplace(IndexPath{ section, -1 }, header);
    }
    for (const auto& [path, cell] : m_state->cells) {
        views.emplace(path, cell);
    }
    QList<QWidget*> ordered;
    for (const auto& [path, view] : views) {
        ordered.append(view);
    }
    return ordered;
}

bool CollectionView::event(QEvent* event)
{
    if (event->type() == QEvent::LayoutRequest) {
        m_state->reloadIfNeeded();
    }
    return QAbstractScrollArea::event(event);
}

void CollectionView::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LayoutDirectionChange) {
        m_state->relayout();
    }
    QAbstractScrollArea::changeEvent(event);
}

void CollectionView::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    m_state->relayout();
}

void CollectionView::paintEvent(QPaintEvent*)
{
    if (m_state->ringAround) {
        QPainter painter(viewport());
        drawing::drawFocusRing(painter, viewport()->rect(), palette());
    }
}

void CollectionView::scrollContentsBy(int, int dy)
{
    viewport()->scroll(0, dy);
    m_state->showVisible();
}

void CollectionView::wheelEvent(QWheelEvent* event)
{
    constexpr double notch = 120;
    const double turned = event->pixelDelta().isNull()
        ? event->angleDelta().y() / notch * m_state->layout.rowHeight()
        : event->pixelDelta().y();
    const double wanted = turned + m_state->wheelRest;
    const int pixels = qRound(wanted);
    m_state->wheelRest = wanted - pixels;
    verticalScrollBar()->setValue(m_state->offset() - pixels);
    event->setAccepted(verticalScrollBar()->maximum() > 0);
}

void CollectionView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    m_state->reloadIfNeeded();
    m_state->usesKeyboard = false;
    m_state->showFocus();
    const QPoint point = event->position().toPoint() + QPoint(0, m_state->offset());
    const auto path = m_state->layout.itemAt(point);
    if (!path) {
        m_state->clickOnNothing();
    } else if (path != m_state->selected) {
        m_state->goalColumn = path->item % m_state->layout.columns();
        m_state->select(*path);
    }
}

void CollectionView::mouseMoveEvent(QMouseEvent*) { }

void CollectionView::mouseReleaseEvent(QMouseEvent*) { }

void CollectionView::mouseDoubleClickEvent(QMouseEvent*) { }

void CollectionView::keyPressEvent(QKeyEvent* event)
{
    static constexpr std::array keys{ Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down,
        Qt::Key_Home, Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Space, Qt::Key_Return,
        Qt::Key_Enter };
    m_state->reloadIfNeeded();
    const bool known = std::find(keys.begin(), keys.end(), event->key()) != keys.end();
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    const auto first = m_state->layout.firstItem();
    if (!known || !plain || !first) {
        event->ignore();
        return;
    }
    m_state->usesKeyboard = true;
    m_state->showFocus();
    if (!m_state->selected) {
        m_state->goalColumn = 0;
        m_state->select(*first);
        return;
    }
    const IndexPath here = *m_state->selected;
    const auto target = m_state->targetOf(event->key());
    if (!target) { // Space and Return select the same item again
        m_state->select(here);
    } else if (*target != here) {
        m_state->select(*target);
    }
}

void CollectionView::focusInEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusInEvent(event);
    m_state->usesKeyboard
        = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    m_state->showFocus();
    m_state->announceSelection();
}

void CollectionView::focusOutEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusOutEvent(event);
    m_state->showFocus();
}

} // namespace platform
