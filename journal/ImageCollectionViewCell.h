#pragma once

#include "platform/ui/CollectionViewItem.h"
#include "platform/ui/IndexPath.h"

#include <memory>

namespace Ui {
class ImageCollectionViewCell;
}

namespace platform {
class CollectionView;
}

namespace vellumcap {

class Capture;

/// A capture in the journal's list: its picture, its text, and the time of day.
class ImageCollectionViewCell : public platform::CollectionViewItem {
    Q_OBJECT
public:
    explicit ImageCollectionViewCell(QWidget* parent = nullptr);
    ~ImageCollectionViewCell() override;

    static QString reuseIdentifier();

    void viewDidLoad() override;
    void selectionDidChange() override;
    void show(const Capture& capture);

private:
    std::unique_ptr<Ui::ImageCollectionViewCell> m_ui;
};

/// A cell of `collectionView`, new or reused, that shows the capture at `indexPath`.
ImageCollectionViewCell* cellShowing(platform::CollectionView& collectionView,
    platform::IndexPath indexPath, const Capture& capture);

/// The text for screen readers: the beginning of the capture's text, and its time of day.
QString accessibleNameOf(const Capture& capture);

} // namespace vellumcap
