#include "platform/ui/CollectionViewItem.h"

#include "platform/ui/Drawing.h"

#include <QLabel>
#include <QPainter>

namespace platform {

namespace {

/// Distance between the card and the focus ring.
constexpr double ringGap = 2;

} // namespace

CollectionViewItem::CollectionViewItem(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_Hover);
}

CollectionViewItem::~CollectionViewItem() = default;

void CollectionViewItem::setWantsLayer(bool wants)
{
    if (wants != (m_layer != nullptr)) {
        m_layer = wants ? std::make_unique<Layer>() : nullptr;
        update();
    }
}

void CollectionViewItem::setSelected(bool selected)
{
    if (m_selected == selected) {
        return;
    }
    m_selected = selected;
    const auto labels = findChildren<QLabel*>();
    for (QLabel* label : labels) {
        label->setForegroundRole(selected ? QPalette::HighlightedText : QPalette::NoRole);
    }
    selectionDidChange();
    update();
}

void CollectionViewItem::setShowsFocus(bool shows)
{
    if (m_showsFocus != shows) {
        m_showsFocus = shows;
        update();
    }
}

void CollectionViewItem::paintEvent(QPaintEvent*)
{
    constexpr double margin = drawing::ringWidth + ringGap;
    QPainter painter(this);
    if (m_layer != nullptr && m_layer->backgroundColor.isValid()) {
        painter.fillRect(rect(), m_layer->backgroundColor);
    }
    const QRectF card = QRectF(rect()).adjusted(margin, margin, -margin, -margin);
    const QColor highlight = palette().color(QPalette::Highlight);
    if (m_selected) {
        drawing::fillCard(painter, card, highlight);
    } else if (underMouse()) {
        QColor tint = highlight;
        tint.setAlphaF(0.12F);
        drawing::fillCard(painter, card, tint);
    }
    if (m_showsFocus) {
        drawing::drawFocusRing(painter, rect(), palette(), drawing::cardRadius + margin);
    }
}

} // namespace platform
