#include "platform/ui/ThumbnailView.h"

#include "platform/ui/Drawing.h"
#include "platform/ui/ThumbnailLoader.h"

#include <QPainter>

namespace platform {

namespace {

/// Small tiles, as in the rows of a list, have a smaller padding.
double paddingOf(QSize size)
{
    return qBound(3.0, qMin(size.width(), size.height()) / 14.0, 8.0);
}

double radiusOf(QSize size)
{
    return qMin(drawing::cardRadius, qMin(size.width(), size.height()) / 8.0);
}

/// Requested sides are multiples of this, so that views of similar size share a cached picture.
constexpr int sideStep = 64;

} // namespace

ThumbnailView::ThumbnailView(QWidget* parent)
    : QWidget(parent)
{
}

ThumbnailView::~ThumbnailView()
{
    cancelRequest();
}

void ThumbnailView::setImage(const ImageFile& file)
{
    if (file == m_file && isLoaded()) {
        return;
    }
    cancelRequest();
    m_file = file;
    m_picture = {};
    m_side = 0;
    update();
}

bool ThumbnailView::isLoaded() const
{
    return !m_picture.isNull();
}

QSize ThumbnailView::sizeHint() const
{
    return { 128, 128 };
}

void ThumbnailView::cancelRequest()
{
    if (m_ticket != 0) {
        ThumbnailLoader::shared().cancel(m_ticket);
        m_ticket = 0;
        m_side = 0;
    }
}

void ThumbnailView::hideEvent(QHideEvent* event)
{
    cancelRequest();
    QWidget::hideEvent(event);
}

void ThumbnailView::fetch()
{
    const double wanted = (qMax(width(), height()) - 2 * paddingOf(size())) * devicePixelRatioF();
    const int side = qCeil(wanted / sideStep) * sideStep;
    if (m_file.isNull() || side <= m_side) {
        return;
    }
    cancelRequest();
    m_side = side;
    ThumbnailLoader& loader = ThumbnailLoader::shared();
    const ThumbnailLoader::Key key{ m_file.path, side };
    if (const QImage image = loader.cached(key); !image.isNull()) {
        m_picture = ScalablePicture(image);
        return;
    }
    m_ticket = loader.request(key, [this](const QImage& image) { receive(image); });
}

void ThumbnailView::receive(const QImage& image)
{
    m_ticket = 0;
    if (!image.isNull()) {
        m_picture = ScalablePicture(image);
    }
    update();
}

void ThumbnailView::paintEvent(QPaintEvent*)
{
    fetch();
    QPainter painter(this);
    const double padding = paddingOf(size());
    const double radius = radiusOf(size());
    drawing::fillCard(painter, rect(), drawing::tileColor(palette()), radius);
    const QRectF area = QRectF(rect()).adjusted(padding, padding, -padding, -padding);
    if (isLoaded()) {
        m_picture.draw(painter, m_picture.fittingRect(area, devicePixelRatioF()), radius / 3);
    } else if (m_ticket == 0) {
        drawing::drawPictureGlyph(painter, area, drawing::faintColor(palette()));
    }
    drawing::strokeHairline(painter, rect(), drawing::hairlineColor(palette()), radius);
}

} // namespace platform
