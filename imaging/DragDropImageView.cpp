#include "imaging/DragDropImageView.h"

#include "platform/services/DurableFile.h"
#include "platform/services/FileManager.h"
#include "platform/services/StandardFolders.h"
#include "platform/ui/Drawing.h"
#include "platform/ui/PictureMimeData.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDrag>
#include <QDropEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QMouseEvent>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

namespace drawing = platform::drawing;

/// Marks drags from another well: their picture is shown filling this one.
constexpr auto wellType = "application/x-vellumcap-image-well";
constexpr int dragSide = 32;
constexpr double frameWidth = 5;
constexpr double padding = 16;
constexpr double radius = 12;

/// Empty without URLs: a text is not a file, even if it is a path.
QString pictureFile(const QMimeData& data)
{
    return data.hasUrls() ? platform::pictureFileIn(data) : QString();
}

bool isReadable(const QMimeData& data)
{
    return platform::hasPictureData(data) || !pictureFile(data).isEmpty();
}

QImage readImage(const QMimeData& data)
{
    const QString file = pictureFile(data);
    return (file.isEmpty() ? platform::readPictureData(data) : platform::readPicture(file)).image;
}

/// The first picture file, or else the first local file.
std::optional<QString> location(const QMimeData& data)
{
    const QString picture = pictureFile(data);
    if (!picture.isEmpty()) {
        return picture;
    }
    const QList<QUrl> urls = data.urls();
    for (const QUrl& url : urls) {
        if (url.isLocalFile()) {
            return url.adjusted(QUrl::StripTrailingSlash).toLocalFile();
        }
    }
    return std::nullopt;
}

QString titleFor(const std::optional<QString>& path)
{
    if (!path) {
        return DragDropImageView::tr("(no name)");
    }
    QString name = QFileInfo(*path).fileName();
    if (name.isEmpty()) { // the root folder
        name = *path;
    }
    // Qt replaces "[*]" in a title by the mark of a changed document.
    return name.replace(QLatin1String("[*]"), QLatin1String("[*][*]"));
}

QByteArray encoded(const QImage& image, const char* format)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return image.save(&buffer, format) ? buffer.data() : QByteArray();
}

/// Writes the file for a drag, and returns its path. A null picture or a failed write leaves the
/// file unchanged.
QString writeCapture(const QImage& image)
{
    const QString folder = platform::StandardFolders::caches();
    QString path = folder + u"/capture.png"_s;
    const QByteArray png = encoded(image, "PNG");
    if (!png.isEmpty() && platform::FileManager::createDirectory(folder)) {
        const QByteArrayView parts[]{ png };
        static_cast<void>(platform::writeDurably(path, parts));
    }
    return path;
}

QByteArray drawnAsPdf(QWidget& widget)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        constexpr int pointsPerInch = 72;
        writer.setResolution(pointsPerInch);
        const QPageSize page(
            QSizeF(widget.size()), QPageSize::Point, QString(), QPageSize::ExactMatch);
        writer.setPageLayout(QPageLayout(page, QPageLayout::Portrait, {}));
        QPainter painter(&writer);
        widget.render(&painter);
    }
    return buffer.data();
}

} // namespace

void DragDropImageViewDelegate::dropComplete(const std::optional<QString>& /*path*/) { }

DragDropImageView::DragDropImageView(QWidget* parent)
    : DragDropImageView(Origin::WindowDescription, parent)
{
}

DragDropImageView::DragDropImageView(Origin origin, QWidget* parent)
    : QWidget(parent)
    , m_allowDrag(origin == Origin::WindowDescription)
    , m_allowDrop(origin == Origin::WindowDescription)
{
    setAcceptDrops(origin == Origin::WindowDescription);
}

void DragDropImageView::setImage(const QImage& image)
{
    m_picture = platform::ScalablePicture(image);
    update();
}

void DragDropImageView::setHighlight(bool highlight)
{
    m_highlight = highlight;
    if (!highlight) {
        m_preview = {};
    }
    update();
}

QSize DragDropImageView::sizeHint() const
{
    return { 400, 400 };
}

void DragDropImageView::dragEnterEvent(QDragEnterEvent* event)
{
    const QMimeData& offered = *event->mimeData();
    if (!m_allowDrop || !isReadable(offered)
        || !event->possibleActions().testFlag(Qt::CopyAction)) {
        event->ignore();
        return;
    }
    if (offered.hasFormat(QLatin1String(wellType))) {
        m_preview = platform::ScalablePicture(readImage(offered));
    }
    setHighlight(true);
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void DragDropImageView::dragMoveEvent(QDragMoveEvent* event)
{
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(m_highlight);
}

void DragDropImageView::dragLeaveEvent(QDragLeaveEvent* /*event*/)
{
    setHighlight(false);
}

void DragDropImageView::dropEvent(QDropEvent* event)
{
    const QMimeData& offered = *event->mimeData();
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(
        prepareForDragOperation(offered) && performDragOperation(offered, event->source()));
}

bool DragDropImageView::prepareForDragOperation(const QMimeData& offered)
{
    setHighlight(false);
    return isReadable(offered);
}

bool DragDropImageView::performDragOperation(const QMimeData& offered, const QObject* source)
{
    if (source == this) {
        return true;
    }
    if (isReadable(offered)) {
        setImage(readImage(offered));
    }
    m_path = location(offered);
    window()->setWindowTitle(titleFor(m_path));
    if (m_delegate != nullptr) {
        m_delegate->dropComplete(m_path);
    }
    return true;
}

void DragDropImageView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    auto& shown = m_preview.isNull() ? m_picture : m_preview;
    QPalette colors = palette();
    colors.setCurrentColorGroup(QPalette::Active); // an empty well is not greyed out
    // A code needs a light border, in a dark colour scheme too.
    drawing::fillCard(
        painter, rect(), shown.isNull() ? drawing::tileColor(colors) : QColor(Qt::white), radius);
    drawing::strokeHairline(painter, rect(), drawing::hairlineColor(colors), radius);
    const double margin = m_preview.isNull() ? padding : 0;
    const QRectF area = QRectF(rect()).adjusted(margin, margin, -margin, -margin);
    shown.draw(painter, shown.fittingRect(area, devicePixelRatioF()));
    if (m_highlight) {
        drawing::setDefaultLineWidth(frameWidth); // also applies to later strokes elsewhere
        drawing::strokeRect(painter, event->rect(), Qt::darkGray);
    }
}

QPixmap DragDropImageView::dragPixmap() const
{
    if (image().isNull()) {
        return {};
    }
    const int side = qRound(dragSide * devicePixelRatioF());
    QPixmap pixmap = QPixmap::fromImage(
        image().scaled(side, side, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    pixmap.setDevicePixelRatio(devicePixelRatioF());
    return pixmap;
}

void DragDropImageView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !m_allowDrag) {
        return;
    }
    auto* offered = new QMimeData;
    offered->setUrls({ QUrl::fromLocalFile(writeCapture(image())) });
    // Qt deletes the drag after the receiver has read the data, perhaps later than this view.
    auto* drag = new QDrag(this);
    drag->setParent(QCoreApplication::instance());
    drag->setMimeData(offered);
    drag->setPixmap(dragPixmap());
    drag->setHotSpot({ dragSide / 2, dragSide / 2 });
    drag->exec(Qt::CopyAction);
}

void DragDropImageView::provideData(QMimeData& item, const QString& type)
{
    if (type == QLatin1String("image/tiff")) {
        item.setData(type, encoded(image(), "TIFF"));
    } else if (type == QLatin1String("application/pdf")) {
        item.setData(type, drawnAsPdf(*this));
    }
}

QRect DragDropImageView::windowWillUseStandardFrame(
    const QWidget& window, const QRect& /*defaultFrame*/) const
{
    const QPoint origin = isWindow() ? QPoint() : this->window()->frameGeometry().topLeft();
    const QSize decoration = window.frameGeometry().size() - window.geometry().size();
    return { origin, image().size() + decoration };
}

} // namespace vellumcap
