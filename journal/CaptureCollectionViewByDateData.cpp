#include "journal/CaptureCollectionViewByDateData.h"

#include "journal/ImageCollectionViewCell.h"
#include "journal/ImageCollectionViewHeaderCell.h"
#include "journal/JournalWindow.h"
#include "platform/ui/ThumbnailView.h"

#include <QLabel>
#include <QLocale>

namespace vellumcap {

namespace {

constexpr QSizeF headerReferenceSize(180.0, 20.0);
constexpr QColor standardGray(128, 128, 128);

/// Finds the key of an instant's local day. Consecutive captures mostly share a day, and asking
/// the time zone costs far more than comparing, so the last day's bounds are kept.
class DayKeys {
public:
    QDateTime keyOf(const QDateTime& instant)
    {
        const qint64 milliseconds = instant.toMSecsSinceEpoch();
        if (milliseconds < m_dayStart || milliseconds >= m_dayEnd) {
            const QDate day = instant.toLocalTime().date();
            const QDateTime midnight = day.startOfDay(Qt::LocalTime);
            m_dayStart = midnight.toMSecsSinceEpoch();
            m_dayEnd = day.addDays(1).startOfDay(Qt::LocalTime).toMSecsSinceEpoch();
            m_key = midnight.toUTC().addSecs(m_presentOffset);
        }
        return m_key;
    }

private:
    int m_presentOffset = QDateTime::currentDateTime().offsetFromUtc();
    qint64 m_dayStart = 0;
    qint64 m_dayEnd = 0;
    QDateTime m_key;
};

} // namespace

CaptureCollectionViewByDateData::CaptureCollectionViewByDateData(CaptureList captures)
{
    updateCaptures(std::move(captures));
}

void CaptureCollectionViewByDateData::updateCaptures(CaptureList captures)
{
    m_dateDict.clear();
    m_captureArray = std::move(captures);
    DayKeys days;
    QDateTime key;
    CaptureList* bucket = nullptr;
    for (const auto& capture : m_captureArray) {
        const QDateTime captureKey = days.keyOf(capture->dateCaptured());
        if (bucket == nullptr || captureKey != key) {
            key = captureKey;
            bucket = &m_dateDict[key];
        }
        bucket->push_back(capture);
    }
    m_sortedKeys.clear();
    for (const auto& day : m_dateDict) {
        m_sortedKeys.append(day.first);
    }
}

const CaptureList& CaptureCollectionViewByDateData::bucket(int section) const
{
    return m_dateDict.find(m_sortedKeys.at(section))->second;
}

int CaptureCollectionViewByDateData::numberOfSectionsInCollectionView(
    platform::CollectionView& /*collectionView*/) const
{
    return static_cast<int>(m_dateDict.size());
}

int CaptureCollectionViewByDateData::numberOfItemsInSection(
    platform::CollectionView& /*collectionView*/, int section) const
{
    return static_cast<int>(bucket(section).size());
}

platform::CollectionViewItem* CaptureCollectionViewByDateData::itemForRepresentedObjectAtIndexPath(
    platform::CollectionView& collectionView, platform::IndexPath indexPath)
{
    const auto& capture = bucket(indexPath.section)[static_cast<std::size_t>(indexPath.item)];
    return cellShowing(collectionView, indexPath, *capture);
}

QWidget* CaptureCollectionViewByDateData::viewForSupplementaryElementOfKind(
    platform::CollectionView& collectionView, platform::SupplementaryKind /*kind*/,
    platform::IndexPath indexPath)
{
    auto* header = qobject_cast<ImageCollectionViewHeaderCell*>(
        collectionView.makeSupplementaryView(platform::SupplementaryKind::SectionHeader,
            ImageCollectionViewHeaderCell::reuseIdentifier(), indexPath));
    header->setFillColor(standardGray);
    header->setBorderColor(Qt::transparent);
    const QDate day = m_sortedKeys.at(indexPath.section).toLocalTime().date();
    header->label->setText(QLocale().toString(day, QLocale::ShortFormat));
    return header;
}

void CaptureCollectionViewByDateData::didSelectItemsAtIndexPaths(
    platform::CollectionView& /*collectionView*/, const QSet<platform::IndexPath>& indexPaths)
{
    if (indexPaths.isEmpty() || journalWindow == nullptr) {
        return;
    }
    const platform::IndexPath chosen = indexPaths.values().constFirst();
    journalWindow->captureSelected(bucket(chosen.section)[static_cast<std::size_t>(chosen.item)]);
}

QSizeF CaptureCollectionViewByDateData::referenceSizeForHeaderInSection(
    const platform::CollectionView& /*collectionView*/, int /*section*/) const
{
    return headerReferenceSize;
}

QString CaptureCollectionViewByDateData::accessibleNameOfItem(platform::IndexPath indexPath) const
{
    const auto& capture = bucket(indexPath.section)[static_cast<std::size_t>(indexPath.item)];
    return accessibleNameOf(*capture);
}

} // namespace vellumcap
