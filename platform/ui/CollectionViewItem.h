#pragma once

#include <QColor>
#include <QWidget>

#include <memory>

class QLabel;

namespace platform {

class ThumbnailView;

/// A cell of a collection view, which places, selects and reuses it. A subclass loads the cell's
/// description and sets the two outlets.
class CollectionViewItem : public QWidget {
    Q_OBJECT
public:
    explicit CollectionViewItem(QWidget* parent = nullptr);
    ~CollectionViewItem() override;

    ThumbnailView* imageView = nullptr; ///< outlet
    QLabel* textField = nullptr; ///< outlet

    /// An optional background behind everything else.
    struct Layer {
        QColor backgroundColor;
    };
    Layer* layer() const { return m_layer.get(); } ///< null unless the cell wants a layer
    void setWantsLayer(bool wants);

    bool isSelected() const { return m_selected; }
    /// All labels of the cell take the colour of selected text.
    void setSelected(bool selected);

    /// Draws a focus ring: the collection view has the keyboard focus and this is its selected
    /// item.
    void setShowsFocus(bool shows);

    virtual void viewDidLoad() { }
    virtual void prepareForReuse() { }
    virtual void selectionDidChange() { } ///< called after the labels have their colour

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::unique_ptr<Layer> m_layer;
    bool m_selected = false;
    bool m_showsFocus = false;
};

} // namespace platform
