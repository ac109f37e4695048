#pragma once

#include "app/Capture.h"
#include "platform/ui/CollectionView.h"

#include <QDateTime>
#include <QList>

#include <functional>
#include <map>
#include <vector>

namespace vellumcap {

class JournalWindow;

/// Groups captures by calendar day, newest day first, and shows them in a collection view: its
/// data source and delegate. Main thread.
class CaptureCollectionViewByDateData : public platform::CollectionViewDataSource,
                                        public platform::CollectionViewDelegate {
public:
    explicit CaptureCollectionViewByDateData(CaptureList captures);

    JournalWindow* journalWindow = nullptr; ///< told of the selected capture

    /// Groups the list anew. Within a day the captures keep the order of the list.
    void updateCaptures(CaptureList captures);
    const CaptureList& captureArray() const { return m_captureArray; }

    /// A day's key: the instant of its local midnight plus the local zone's present offset from
    /// GMT. In display order.
    const QList<QDateTime>& sortedKeys() const { return m_sortedKeys; }

    int numberOfSectionsInCollectionView() const override;
    int numberOfItemsInSection(int section) const override;
    platform::CollectionViewItem* itemForRepresentedObjectAtIndexPath(
        platform::CollectionView& collectionView, platform::IndexPath indexPath) override;
    QWidget* viewForSupplementaryElementOfKind(
        platform::CollectionView& collectionView, platform::IndexPath indexPath) override;
    void didSelectItemsAtIndexPaths(const QSet<platform::IndexPath>& indexPaths) override;
    QSizeF referenceSizeForHeaderInSection(int section) const override;
    QString accessibleNameOfItem(platform::IndexPath indexPath) const override;

private:
    const std::shared_ptr<Capture>& captureAt(platform::IndexPath indexPath) const;

    CaptureList m_captureArray;
    /// For each day the places of its captures in the list.
    std::map<QDateTime, std::vector<qsizetype>, std::greater<>> m_dateDict;
    QList<QDateTime> m_sortedKeys; ///< kept, since every cell asks for its section's
};

} // namespace vellumcap
