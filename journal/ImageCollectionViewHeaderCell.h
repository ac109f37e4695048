#pragma once

#include <QColor>
#include <QWidget>

#include <memory>

namespace Ui {
class ImageCollectionViewHeaderCell;
}

namespace vellumcap {

/// The header of a day: its date on a rounded box.
class ImageCollectionViewHeaderCell : public QWidget {
    Q_OBJECT
public:
    explicit ImageCollectionViewHeaderCell(QWidget* parent = nullptr);
    ~ImageCollectionViewHeaderCell() override;

    static QString reuseIdentifier();

    void setText(const QString& text);
    void setFillColor(const QColor& color);
    void setBorderColor(const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::unique_ptr<Ui::ImageCollectionViewHeaderCell> m_ui;
    QColor m_fillColor;
    QColor m_borderColor;
};

} // namespace vellumcap
