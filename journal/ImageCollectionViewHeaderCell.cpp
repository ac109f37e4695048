#include "journal/ImageCollectionViewHeaderCell.h"

#include "ui_ImageCollectionViewHeaderCell.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace vellumcap {

ImageCollectionViewHeaderCell::ImageCollectionViewHeaderCell(QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ImageCollectionViewHeaderCell>())
{
    m_ui->setupUi(this);
}

ImageCollectionViewHeaderCell::~ImageCollectionViewHeaderCell() = default;

QString ImageCollectionViewHeaderCell::reuseIdentifier()
{
    return u"header"_s;
}

void ImageCollectionViewHeaderCell::setText(const QString& text)
{
    m_ui->label->setText(text);
}

void ImageCollectionViewHeaderCell::setFillColor(const QColor& color)
{
    m_fillColor = color;
    update();
}

void ImageCollectionViewHeaderCell::setBorderColor(const QColor& color)
{
    m_borderColor = color;
    update();
}

void ImageCollectionViewHeaderCell::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(m_borderColor);
    painter.setBrush(m_fillColor);
    const QRectF box = QRectF(m_ui->boxBackground->geometry()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.drawRoundedRect(box, box.height() / 2, box.height() / 2);
}

} // namespace vellumcap
