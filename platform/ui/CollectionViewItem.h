#pragma once

#include <QColor>
#include <QWidget>

#include <memory>

class QLabel;

namespace platform {

class ThumbnailView;

/// A cell of a collection view; subclasses load their description and set the two outlets. The
/// cell is a view of its own: the collection places it, shows its selection and reuses it.
class CollectionViewItem : public QWidget {
    Q_OBJECT
public:
    explicit CollectionViewItem(QWidget* parent = nullptr);
    ~CollectionViewItem() override;

    ThumbnailView* imageView = nullptr; ///< outlet
    QLabel* textField = nullptr; ///< outlet

    /// Fills the cell's backing, where it has one, behind everything else.
    struct Layer {
        QColor backgroundColor;
    };
    Layer* layer() const { return m_layer.get(); } ///< null unless the cell wants a layer
    void setWantsLayer(bool wants);

    bool isSelected() const { return m_selected; }
    /// All labels of the cell take the colour of selected text.
    void setSelected(bool selected);

    /// The collection has the keyboard focus and this is its current item.
    bool showsFocus() const { return m_showsFocus; }
    void setShowsFocus(bool shows);

    virtual void viewDidLoad() { }
    virtual void prepareForReuse() { }
    virtual void selectionDidChange() { } ///< `textField` has its colour already

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::unique_ptr<Layer> m_layer;
    bool m_selected = false;
    bool m_showsFocus = false;
};

} // namespace platform
