#include "journal/CaptureCollectionViewByDateData.h"

#include "journal/ImageCollectionViewCell.h"
#include "journal/ImageCollectionViewHeaderCell.h"
#include "journal/JournalWindow.h"
#include "journal/LocalDay.h"
#include "platform/ui/ThumbnailView.h"

#include <QLocale>

namespace vellumcap {

namespace {

constexpr QSizeF headerReferenceSize(180.0, 20.0);
constexpr QColor standardGray(128, 128, 128);

} // namespace

CaptureCollectionViewByDateData::CaptureCollectionViewByDateData(CaptureList captures)
{
    updateCaptures(std::move(captures));
}

void CaptureCollectionViewByDateData::updateCaptures(CaptureList captures)
{
    m_dateDict.clear();
    m_captureArray = std::move(captures);
    const qint64 presentOffset = QDateTime::currentDateTime().offsetFromUtc() * qint64{ 1000 };
    // Most neighbours share a day, and comparing is cheaper than LocalDay::of().
    LocalDay day;
    std::vector<qsizetype>* bucket = nullptr;
    for (qsizetype index = 0; index < m_captureArray.size(); ++index) {
        const qint64 instant = m_captureArray.at(index)->dateCaptured().toMSecsSinceEpoch();
        if (bucket == nullptr || !day.contains(instant)) {
            day = LocalDay::of(instant);
            bucket
                = &m_dateDict[QDateTime::fromMSecsSinceEpoch(day.start + presentOffset, Qt::UTC)];
        }
        bucket->push_back(index);
    }
    m_sortedKeys.clear();
    for (const auto& [dayKey, indexes] : m_dateDict) {
        m_sortedKeys.append(dayKey);
    }
}

const std::shared_ptr<Capture>& CaptureCollectionViewByDateData::captureAt(
    platform::IndexPath indexPath) const
{
    const auto& bucket = m_dateDict.find(m_sortedKeys.at(indexPath.section))->second;
    return m_captureArray.at(bucket[static_cast<std::size_t>(indexPath.item)]);
}

int CaptureCollectionViewByDateData::numberOfSectionsInCollectionView() const
{
    return static_cast<int>(m_dateDict.size());
}

int CaptureCollectionViewByDateData::numberOfItemsInSection(int section) const
{
    return static_cast<int>(m_dateDict.find(m_sortedKeys.at(section))->second.size());
}

platform::CollectionViewItem* CaptureCollectionViewByDateData::itemForRepresentedObjectAtIndexPath(
    platform::CollectionView& collectionView, platform::IndexPath indexPath)
{
    return cellShowing(collectionView, indexPath, *captureAt(indexPath));
}

QWidget* CaptureCollectionViewByDateData::viewForSupplementaryElementOfKind(
    platform::CollectionView& collectionView, platform::IndexPath indexPath)
{
    auto* header = qobject_cast<ImageCollectionViewHeaderCell*>(
        collectionView.makeSupplementaryView(ImageCollectionViewHeaderCell::reuseIdentifier()));
    header->setFillColor(standardGray);
    header->setBorderColor(Qt::transparent);
    const QDate day = m_sortedKeys.at(indexPath.section).toLocalTime().date();
    header->setText(QLocale().toString(day, QLocale::ShortFormat));
    return header;
}

void CaptureCollectionViewByDateData::didSelectItemsAtIndexPaths(
    const QSet<platform::IndexPath>& indexPaths)
{
    if (!indexPaths.isEmpty() && journalWindow != nullptr) {
        journalWindow->captureSelected(captureAt(indexPaths.values().constFirst()));
    }
}

QSizeF CaptureCollectionViewByDateData::referenceSizeForHeaderInSection(int /*section*/) const
{
    return headerReferenceSize;
}

QString CaptureCollectionViewByDateData::accessibleNameOfItem(platform::IndexPath indexPath) const
{
    return accessibleNameOf(*captureAt(indexPath));
}

} // namespace vellumcap
