#pragma once

#include <QColor>
#include <QLabel>
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

    QWidget* boxBackground = nullptr; ///< outlet
    QLabel* label = nullptr; ///< outlet

    void setFillColor(const QColor& color);
    const QColor& fillColor() const { return m_fillColor; }
    void setBorderColor(const QColor& color);
    const QColor& borderColor() const { return m_borderColor; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::unique_ptr<Ui::ImageCollectionViewHeaderCell> m_ui;
    QColor m_fillColor;
    QColor m_borderColor;
};

} // namespace vellumcap
