#include "platform/ui/ImageView.h"

#include "platform/services/Dispatch.h"
#include "platform/ui/Drawing.h"
#include "platform/ui/ScalablePicture.h"

#include <QGestureEvent>
#include <QKeyEvent>
#include <QPainter>

#include <cmath>

namespace platform {

namespace {

constexpr double padding = 12;
constexpr double zoomStep = 1.25;
constexpr double panStep = 48;
constexpr double wheelNotch = 120;

} // namespace

struct ImageView::State {
    explicit State(ImageView& owner)
        : view(owner)
    {
    }

    QSizeF contentSize() const { return QSizeF(picture.image().size()) * factor; }
    double fittingFactor() const;
    void show(ScalablePicture shown);
    /// Clamps `wanted` to the possible zoom. The picture's point under `anchor` (in view
    /// coordinates) stays in place.
    void zoomTo(double wanted, QPointF anchor);
    void zoomFromMiddle(double wanted) { zoomTo(wanted, QRectF(view.rect()).center()); }
    void fit();
    /// Moves by `delta`; false when the picture cannot move in that direction.
    bool pan(QPointF delta);
    bool zoomByKey(int key); ///< false for other keys
    bool panByKey(int key); ///< false for other keys
    bool zoomByNativeGesture(const QNativeGestureEvent& event); ///< false for other gestures
    void keepInside();
    void updateCursor();

    ImageView& view;
    ScalablePicture picture;
    double factor = 1; ///< device-independent pixels per pixel of the picture
    bool fits = true; ///< the zoom follows the size of the view
    QPointF center{ 0.5, 0.5 }; ///< the picture's point in the middle of the view, as fractions
    QPointF dragged; ///< the last position of the pointer while dragging
    bool dragging = false;
    quint64 reading = 0; ///< number of the latest request; results of earlier ones are dropped
    std::shared_ptr<const void> life = std::make_shared<char>();
};

double ImageView::State::fittingFactor() const
{
    const QSizeF area(view.width() - 2 * padding, view.height() - 2 * padding);
    return picture.fittingFactor(area, view.devicePixelRatioF());
}

void ImageView::State::show(ScalablePicture shown)
{
    picture = std::move(shown);
    fit();
}

void ImageView::State::fit()
{
    fits = true;
    factor = fittingFactor();
    center = { 0.5, 0.5 };
    updateCursor();
    view.update();
}

void ImageView::State::zoomTo(double wanted, QPointF anchor)
{
    if (picture.isNull()) {
        return;
    }
    const double largest = ScalablePicture::largestMagnification / view.devicePixelRatioF();
    const double least = qMin(fittingFactor(), 1 / view.devicePixelRatioF());
    const QPointF fromMiddle = anchor - QRectF(view.rect()).center();
    const QSizeF before = contentSize();
    factor = qBound(least, wanted, largest);
    fits = false;
    const QSizeF after = contentSize();
    center += QPointF(fromMiddle.x() / before.width() - fromMiddle.x() / after.width(),
        fromMiddle.y() / before.height() - fromMiddle.y() / after.height());
    keepInside();
    updateCursor();
    view.update();
}

void ImageView::State::keepInside()
{
    const auto bounded = [](double middle, double content, double visible) {
        const double half = visible / 2 / content;
        return half >= 0.5 ? 0.5 : qBound(half, middle, 1 - half);
    };
    const QSizeF content = contentSize();
    center = { bounded(center.x(), content.width(), view.width() - 2 * padding),
        bounded(center.y(), content.height(), view.height() - 2 * padding) };
}

bool ImageView::State::pan(QPointF delta)
{
    if (picture.isNull()) {
        return false;
    }
    const QPointF before = center;
    const QSizeF content = contentSize();
    center -= QPointF(delta.x() / content.width(), delta.y() / content.height());
    keepInside();
    view.update();
    return center != before;
}

void ImageView::State::updateCursor()
{
    const QSizeF content = contentSize();
    const bool movable
        = !picture.isNull() && (content.width() > view.width() || content.height() > view.height());
    if (!movable) {
        view.unsetCursor();
    } else {
        view.setCursor(dragging ? Qt::ClosedHandCursor : Qt::OpenHandCursor);
    }
}

bool ImageView::State::zoomByKey(int key)
{
    switch (key) {
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        zoomFromMiddle(factor * zoomStep);
        return true;
    case Qt::Key_Minus:
        zoomFromMiddle(factor / zoomStep);
        return true;
    case Qt::Key_0:
        fit();
        return true;
    case Qt::Key_1:
        zoomFromMiddle(1);
        return true;
    default:
        return false;
    }
}

bool ImageView::State::panByKey(int key)
{
    switch (key) {
    case Qt::Key_Left:
        return pan({ panStep, 0 });
    case Qt::Key_Right:
        return pan({ -panStep, 0 });
    case Qt::Key_Up:
        return pan({ 0, panStep });
    case Qt::Key_Down:
        return pan({ 0, -panStep });
    default:
        return false;
    }
}

bool ImageView::State::zoomByNativeGesture(const QNativeGestureEvent& event)
{
    if (event.gestureType() != Qt::ZoomNativeGesture) {
        return false;
    }
    zoomTo(factor * (1 + event.value()), event.position());
    return true;
}

ImageView::ImageView(QWidget* parent)
    : QWidget(parent)
    , m_state(std::make_unique<State>(*this))
{
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("Picture"));
    grabGesture(Qt::PinchGesture);
}

ImageView::~ImageView() = default;

void ImageView::setImage(const QImage& image)
{
    ++m_state->reading;
    m_state->show(ScalablePicture(image));
}

void ImageView::setImageWithFile(const ImageFile& file)
{
    setImage({});
    const quint64 reading = m_state->reading;
    const std::weak_ptr<const void> guard = m_state->life;
    dispatchGlobal(QualityOfService::UserInitiated, [this, guard, file, reading] {
        ScalablePicture picture(file.load());
        picture.prepare();
        dispatchMain(guard, [this, picture, reading] {
            if (m_state->reading == reading && !picture.isNull()) {
                m_state->show(picture);
            }
        });
    });
}

const QImage& ImageView::image() const
{
    return m_state->picture.image();
}

QRectF ImageView::imageRect() const
{
    const QSizeF size = m_state->contentSize();
    const QPointF center(m_state->center.x() * size.width(), m_state->center.y() * size.height());
    return { drawing::snapped(QRectF(rect()).center() - center, devicePixelRatioF()), size };
}

QSize ImageView::sizeHint() const
{
    return { 360, 360 };
}

void ImageView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    drawing::fillCard(painter, rect(), drawing::tileColor(palette()));
    if (image().isNull()) {
        drawing::drawPictureGlyph(painter, rect(), drawing::faintColor(palette()));
    } else {
        painter.save();
        painter.setClipRect(rect().adjusted(1, 1, -1, -1));
        m_state->picture.draw(painter, imageRect());
        painter.restore();
    }
    drawing::strokeHairline(painter, rect(), drawing::hairlineColor(palette()));
    if (hasFocus()) {
        drawing::drawFocusRing(painter, rect(), palette());
    }
}

void ImageView::resizeEvent(QResizeEvent* event)
{
    if (m_state->fits) {
        m_state->fit();
    } else {
        m_state->keepInside();
        m_state->updateCursor();
    }
    QWidget::resizeEvent(event);
}

void ImageView::wheelEvent(QWheelEvent* event)
{
    if (event->modifiers().testFlag(Qt::ControlModifier)) {
        const double notches = event->angleDelta().y() / wheelNotch;
        m_state->zoomTo(m_state->factor * std::pow(zoomStep, notches), event->position());
        return;
    }
    const QPointF delta = event->pixelDelta().isNull()
        ? QPointF(event->angleDelta()) / wheelNotch * panStep
        : QPointF(event->pixelDelta());
    event->setAccepted(m_state->pan(delta));
}

void ImageView::keyPressEvent(QKeyEvent* event)
{
    const auto others = event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier);
    if (others != Qt::NoModifier
        || (!m_state->zoomByKey(event->key()) && !m_state->panByKey(event->key()))) {
        QWidget::keyPressEvent(event);
    }
}

void ImageView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || image().isNull()) {
        QWidget::mousePressEvent(event);
        return;
    }
    m_state->dragging = true;
    m_state->dragged = event->position();
    m_state->updateCursor();
}

void ImageView::mouseMoveEvent(QMouseEvent* event)
{
    if (m_state->dragging) {
        m_state->pan(event->position() - m_state->dragged);
        m_state->dragged = event->position();
    }
}

void ImageView::mouseReleaseEvent(QMouseEvent*)
{
    m_state->dragging = false;
    m_state->updateCursor();
}

void ImageView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        return;
    }
    if (m_state->fits) {
        m_state->zoomTo(1, event->position());
    } else {
        m_state->fit();
    }
}

bool ImageView::event(QEvent* event)
{
    if (event->type() == QEvent::NativeGesture) {
        if (m_state->zoomByNativeGesture(*static_cast<QNativeGestureEvent*>(event))) {
            return true;
        }
    } else if (event->type() == QEvent::Gesture) {
        auto* gestures = static_cast<QGestureEvent*>(event);
        if (auto* gesture = static_cast<QPinchGesture*>(gestures->gesture(Qt::PinchGesture))) {
            const QPoint middle = mapFromGlobal(gesture->centerPoint().toPoint());
            m_state->zoomTo(m_state->factor * gesture->scaleFactor(), middle);
            return true;
        }
    }
    return QWidget::event(event);
}

} // namespace platform
