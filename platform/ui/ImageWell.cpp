#include "platform/ui/ImageWell.h"

#include "platform/services/Dispatch.h"
#include "platform/services/StandardFolders.h"
#include "platform/ui/Drawing.h"
#include "platform/ui/PictureMimeData.h"
#include "platform/ui/PictureReading.h"
#include "platform/ui/ScalablePicture.h"

#include <QAccessible>
#include <QClipboard>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImageReader>
#include <QKeyEvent>
#include <QLocale>
#include <QMimeData>
#include <QPainter>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

constexpr double padding = 16;
constexpr double wellRadius = 12;
/// Files up to this size are read on the main thread: it takes no noticeable time.
constexpr qint64 quickFileBytes = 4LL * 1024 * 1024;

QString pictureFilter()
{
    QStringList patterns;
    const QList<QByteArray> formats = QImageReader::supportedImageFormats();
    for (const QByteArray& format : formats) {
        patterns.append(u"*."_s + QString::fromLatin1(format));
    }
    return ImageWell::tr("Pictures (%1)").arg(patterns.join(u' '));
}

QString refusalOf(const PictureReading& reading)
{
    switch (reading.outcome) {
    case PictureReading::Outcome::Read:
        return {};
    case PictureReading::Outcome::TooLarge: {
        const QLocale locale;
        return ImageWell::tr("This picture is too large: %1 × %2 pixels")
            .arg(locale.toString(reading.size.width()), locale.toString(reading.size.height()));
    }
    case PictureReading::Outcome::Unreadable:
        break;
    }
    return ImageWell::tr("This is not a picture that can be read");
}

} // namespace

struct ImageWell::State {
    explicit State(ImageWell& owner)
        : well(owner)
    {
    }

    void readFile(const QString& path);
    void place(const PictureReading& result);
    /// Shows a picture and the reason of a refusal; drops the result of a file still being read.
    void show(const QImage& image, const QString& why);
    void setHovered(bool hovers);
    QString caption() const;
    void drawWell(QPainter& painter) const;
    void drawCaption(QPainter& painter) const;

    ImageWell& well;
    ScalablePicture picture;
    QString refusal;
    bool reading = false; ///< a large file is being read
    bool hovered = false; ///< by a drag that is accepted
    quint64 latest = 0; ///< number of the latest picture; results for earlier ones are dropped
    QPointer<QFileDialog> dialog;
    std::shared_ptr<const void> life = std::make_shared<char>();
};

void ImageWell::State::readFile(const QString& path)
{
    if (QFileInfo(path).size() <= quickFileBytes) {
        place(readPicture(path));
        return;
    }
    const quint64 mine = ++latest;
    reading = true;
    refusal.clear();
    well.update();
    const std::weak_ptr<const void> guard = life;
    dispatchGlobal(QualityOfService::UserInitiated, [this, guard, path, mine] {
        const PictureReading result = readPicture(path);
        dispatchMain(guard, [this, result, mine] {
            if (mine == latest) {
                place(result);
            }
        });
    });
}

void ImageWell::State::place(const PictureReading& result)
{
    const QString why = refusalOf(result);
    if (!why.isEmpty()) {
        show(picture.image(), why);
        return;
    }
    show(result.image, {});
    Q_EMIT well.imagePlaced();
}

void ImageWell::State::show(const QImage& image, const QString& why)
{
    ++latest;
    reading = false;
    refusal = why;
    picture = ScalablePicture(image);
    well.update();
    QAccessibleEvent described(&well, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&described);
}

void ImageWell::State::setHovered(bool hovers)
{
    hovered = hovers;
    well.update();
}

QString ImageWell::State::caption() const
{
    return reading ? ImageWell::tr("Reading…") : refusal;
}

void ImageWell::State::drawWell(QPainter& painter) const
{
    const QPalette palette = well.palette();
    const QColor highlight = palette.color(QPalette::Highlight);
    const QColor tile = drawing::tileColor(palette);
    drawing::fillCard(
        painter, well.rect(), hovered ? drawing::blend(tile, highlight, 0.16) : tile, wellRadius);
    if (hovered || well.hasFocus()) {
        drawing::drawFocusRing(painter, well.rect(), palette, wellRadius);
        return;
    }
    QPen pen(drawing::faintColor(palette), 1.5, Qt::CustomDashLine, Qt::RoundCap);
    pen.setDashPattern({ 4, 4 });
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(
        QRectF(well.rect()).adjusted(1, 1, -1, -1), wellRadius - 1, wellRadius - 1);
}

void ImageWell::State::drawCaption(QPainter& painter) const
{
    const QString text = caption();
    if (text.isEmpty()) {
        return;
    }
    constexpr QMarginsF inside(14, 6, 14, 6);
    constexpr double radius = 14;
    constexpr int flags = Qt::AlignCenter | Qt::TextWordWrap;
    const QRectF room = QRectF(well.rect()).adjusted(padding, padding, -padding, -padding);
    QRectF pill
        = painter.fontMetrics().boundingRect((room - inside).toRect(), flags, text) + inside;
    pill.moveBottom(room.bottom());
    const QPalette palette = well.palette();
    drawing::fillCard(painter, pill, palette.color(QPalette::Base), radius);
    drawing::strokeHairline(painter, pill, drawing::hairlineColor(palette), radius);
    painter.setPen(palette.color(QPalette::Text));
    painter.drawText(pill, flags, text);
}

ImageWell::ImageWell(QWidget* parent)
    : QFrame(parent)
    , m_state(std::make_unique<State>(*this))
{
    setAcceptDrops(true);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("Picture"));
    setAccessibleDescription(tr("Drop or paste a picture here, or press Enter to choose a file."));
}

ImageWell::~ImageWell() = default;

const QImage& ImageWell::image() const
{
    return m_state->picture.image();
}

void ImageWell::setImage(const QImage& image)
{
    m_state->show(image, {});
}

QString ImageWell::refusal() const
{
    return m_state->refusal;
}

QSize ImageWell::sizeHint() const
{
    return { 360, 280 };
}

void ImageWell::take(const QMimeData& mimeData)
{
    const QString path = pictureFileIn(mimeData);
    if (!path.isEmpty()) {
        m_state->readFile(path);
    } else if (!mimeData.formats().isEmpty()) {
        m_state->place(readPictureData(mimeData));
    }
}

void ImageWell::paste()
{
    if (const QMimeData* mimeData = QGuiApplication::clipboard()->mimeData()) {
        take(*mimeData);
    }
}

void ImageWell::chooseFile()
{
    if (m_state->dialog != nullptr) {
        return;
    }
    auto* dialog = new QFileDialog(this, tr("Choose a Picture"), StandardFolders::pictures());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters({ pictureFilter(), tr("All Files (*)") });
    connect(dialog, &QFileDialog::fileSelected, this,
        [this](const QString& path) { m_state->readFile(path); });
    m_state->dialog = dialog;
    dialog->open();
}

bool ImageWell::event(QEvent* event)
{
    // While the well has the focus, the menu's Paste must not receive the key.
    if (event->type() == QEvent::ShortcutOverride
        && static_cast<QKeyEvent*>(event)->matches(QKeySequence::Paste)) {
        event->accept();
        return true;
    }
    return QFrame::event(event);
}

void ImageWell::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    m_state->drawWell(painter);
    const QRectF area = QRectF(rect()).adjusted(padding, padding, -padding, -padding);
    m_state->picture.draw(painter, m_state->picture.fittingRect(area, devicePixelRatioF()));
    m_state->drawCaption(painter);
}

void ImageWell::dragEnterEvent(QDragEnterEvent* event)
{
    // A source that offers only a move would delete its file afterwards.
    if (event->possibleActions().testFlag(Qt::CopyAction) && canReadPicture(*event->mimeData())) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        m_state->setHovered(true);
    } else {
        event->ignore();
    }
}

void ImageWell::dragLeaveEvent(QDragLeaveEvent*)
{
    m_state->setHovered(false);
}

void ImageWell::dropEvent(QDropEvent* event)
{
    m_state->setHovered(false);
    event->setDropAction(Qt::CopyAction);
    event->accept();
    take(*event->mimeData());
}

void ImageWell::keyPressEvent(QKeyEvent* event)
{
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    const int key = event->key();
    if (event->matches(QKeySequence::Paste)) {
        paste();
    } else if (plain && (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space)) {
        chooseFile();
    } else {
        QFrame::keyPressEvent(event);
    }
}

void ImageWell::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        chooseFile();
    }
}

} // namespace platform
