#include "journal/ImageCollectionViewCell.h"

#include "app/Capture.h"
#include "platform/ui/CollectionView.h"
#include "platform/ui/ThumbnailView.h"
#include "ui_ImageCollectionViewCell.h"

#include <QLocale>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

constexpr qsizetype longestSpokenText = 120;

QString timeOfDay(const Capture& capture)
{
    return QLocale().toString(capture.dateCaptured().toLocalTime().time(), QLocale::ShortFormat);
}

} // namespace

ImageCollectionViewCell::ImageCollectionViewCell(QWidget* parent)
    : CollectionViewItem(parent)
    , m_ui(std::make_unique<Ui::ImageCollectionViewCell>())
{
    m_ui->setupUi(this);
    imageView = m_ui->imageView;
    textField = m_ui->textField;
}

ImageCollectionViewCell::~ImageCollectionViewCell() = default;

QString ImageCollectionViewCell::reuseIdentifier()
{
    return u"ImageCollectionViewCell"_s;
}

void ImageCollectionViewCell::viewDidLoad()
{
    if (Layer* backing = layer()) {
        backing->backgroundColor = Qt::red;
    }
    selectionDidChange();
}

void ImageCollectionViewCell::selectionDidChange()
{
    const auto role = isSelected() ? QPalette::HighlightedText : QPalette::PlaceholderText;
    m_ui->timeLabel->setForegroundRole(role);
    m_ui->linkSymbol->setForegroundRole(role);
}

void ImageCollectionViewCell::show(const Capture& capture)
{
    imageView->setImage(capture.getImage());
    textField->setText(capture.captureValue());
    m_ui->linkSymbol->setVisible(capture.isURLValue());
    m_ui->timeLabel->setText(timeOfDay(capture));
}

ImageCollectionViewCell* cellShowing(
    platform::CollectionView& collectionView, platform::IndexPath indexPath, const Capture& capture)
{
    auto* cell = qobject_cast<ImageCollectionViewCell*>(
        collectionView.makeItem(ImageCollectionViewCell::reuseIdentifier(), indexPath));
    cell->show(capture);
    return cell;
}

QString accessibleNameOf(const Capture& capture)
{
    return u"%1, %2"_s.arg(capture.captureValue().left(longestSpokenText), timeOfDay(capture));
}

} // namespace vellumcap
