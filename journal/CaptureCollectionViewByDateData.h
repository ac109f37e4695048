#pragma once

#include "app/Capture.h"
#include "platform/ui/CollectionView.h"

#include <QDateTime>
#include <QList>

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

    JournalWindow* journalWindow = nullptr; ///< borrowed; shows the capture that the user selects

    /// Replaces and regroups the list. Within a day the captures keep its order.
    void updateCaptures(CaptureList captures);
    const CaptureList& captureArray() const { return m_captureArray; }

    /// The days' keys in display order. A key is the instant of the day's local midnight plus the
    /// local zone's present offset from GMT.
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
    /// For each day the indexes of its captures in the list.
    std::map<QDateTime, std::vector<qsizetype>, std::greater<>> m_dateDict;
    QList<QDateTime> m_sortedKeys; ///< cached: every cell looks its section up
};

} // namespace vellumcap
