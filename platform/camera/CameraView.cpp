#include "platform/camera/CameraView.h"

#include "platform/camera/CaptureVideoPreviewLayer.h"

#include <QPainter>
#include <QPainterPath>

#include <utility>

namespace platform {
namespace {

constexpr QSize preferredSize(640, 360);
constexpr double cornerRadius = 8;
constexpr int captionMargin = 24;
// Dark on light desktops too, as the picture is easier to see.
constexpr QColor backgroundColor(24, 24, 26);
constexpr QColor captionColor(220, 220, 224);

} // namespace

CameraView::CameraView(QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

CameraView::~CameraView()
{
    setLayer(nullptr);
}

void CameraView::setLayer(std::shared_ptr<CaptureVideoPreviewLayer> layer)
{
    if (m_layer) {
        m_layer->setPictureObserver({});
    }
    m_layer = std::move(layer);
    if (m_layer) {
        m_layer->setPictureObserver([this] {
            updateText();
            Q_EMIT pictureChanged();
        });
        fitLayer();
    }
    updateText();
}

void CameraView::setCaption(const QString& caption)
{
    if (m_caption != caption) {
        m_caption = caption;
        updateText();
    }
}

QString CameraView::shownText() const
{
    if (!m_layer || !m_caption.isEmpty()) {
        return m_caption;
    }
    return m_layer->picture().isNull() ? tr("Waiting for the camera\u2026") : QString();
}

void CameraView::updateText()
{
    const QString shown = shownText();
    if (accessibleDescription() != shown) {
        setAccessibleDescription(shown);
    }
    update();
}

QRectF CameraView::pictureRect() const
{
    if (!m_layer || !m_caption.isEmpty() || m_layer->picture().isNull()) {
        return {};
    }
    const QSizeF size = QSizeF(m_layer->picture().size()).scaled(this->size(), Qt::KeepAspectRatio);
    QRectF area(QPointF(), size);
    area.moveCenter(QRectF(rect()).center());
    return area;
}

QSize CameraView::sizeHint() const
{
    return preferredSize;
}

void CameraView::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath shape;
    shape.addRoundedRect(rect(), cornerRadius, cornerRadius);
    painter.fillPath(shape, backgroundColor);
    const QRectF area = pictureRect();
    if (!area.isEmpty()) {
        painter.setClipPath(shape);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(area, m_layer->picture());
    } else {
        painter.setPen(captionColor);
        const QRect inside
            = rect().adjusted(captionMargin, captionMargin, -captionMargin, -captionMargin);
        painter.drawText(inside, Qt::AlignCenter | Qt::TextWordWrap, shownText());
    }
}

void CameraView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    fitLayer();
}

void CameraView::fitLayer()
{
    if (m_layer) {
        m_layer->setFrameSize((QSizeF(size()) * devicePixelRatioF()).toSize());
    }
}

} // namespace platform
