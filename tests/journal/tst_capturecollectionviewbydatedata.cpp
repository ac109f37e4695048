#include "app/Capture.h"
#include "journal/CaptureCollectionViewByDateData.h"
#include "journal/ImageCollectionViewCell.h"
#include "journal/ImageCollectionViewHeaderCell.h"
#include "platform/store/ManagedObjectContext.h"
#include "tests/support/Controls.h"
#include "tests/support/Program.h"
#include "tests/support/TestMain.h"

#include <QLabel>

using namespace Qt::StringLiterals;

using support::Program;
using support::TimeZone;
using vellumcap::Capture;
using vellumcap::CaptureCollectionViewByDateData;
using vellumcap::ImageCollectionViewHeaderCell;

namespace {

QDateTime localTime(int year, int month, int day, int hour, int minute)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute), Qt::LocalTime).toUTC();
}

QStringList textsOfSection(const CaptureCollectionViewByDateData& data, int section)
{
    QStringList texts;
    for (int item = 0; item < data.numberOfItemsInSection(section); ++item) {
        texts.append(data.accessibleNameOfItem({ section, item }).section(u',', 0, 0));
    }
    return texts;
}

platform::CollectionView& list(Program& program)
{
    return *support::control<platform::CollectionView>(program.journal(), "collectionView");
}

} // namespace

class CaptureCollectionViewByDateDataTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void anEmptyListHasNoSections();
    void midnightDividesDays_data();
    void midnightDividesDays();
    void newestDayAndCaptureComeFirst();
    void titlesSections_data();
    void titlesSections();
    void givesTheCaptureThatIsShown();
    void doesNothingForAnEmptySelection();
    void headersHaveOneSize();
    void cellsAreRedOnlyOnALayer();
};

void CaptureCollectionViewByDateDataTest::anEmptyListHasNoSections()
{
    CaptureCollectionViewByDateData data({});
    QCOMPARE(data.numberOfSectionsInCollectionView(), 0);
    QVERIFY(data.sortedKeys().isEmpty());
}

void CaptureCollectionViewByDateDataTest::midnightDividesDays_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QDate>("day");
    const QDate ordinary(2026, 6, 10);
    QTest::newRow("UTC") << QByteArray("UTC") << ordinary;
    QTest::newRow("east") << QByteArray("Asia/Tokyo") << ordinary;
    QTest::newRow("far east") << QByteArray("Pacific/Kiritimati") << ordinary;
    QTest::newRow("west") << QByteArray("America/Los_Angeles") << ordinary;
    QTest::newRow("half an hour") << QByteArray("Asia/Kolkata") << ordinary;
    QTest::newRow("start of daylight saving time")
        << QByteArray("Europe/Berlin") << QDate(2026, 3, 29);
    QTest::newRow("end of daylight saving time")
        << QByteArray("Europe/Berlin") << QDate(2026, 10, 25);
    QTest::newRow("no midnight") << QByteArray("America/Santiago") << QDate(2026, 9, 6);
}

void CaptureCollectionViewByDateDataTest::midnightDividesDays()
{
    QFETCH(QByteArray, zone);
    QFETCH(QDate, day);
    const TimeZone there(zone.constData());
    Program program(support::Start::NotLaunched);
    const auto at
        = [](QDate date, QTime time) { return QDateTime(date, time, Qt::LocalTime).toUTC(); };
    program.keep(u"before"_s, at(day.addDays(-1), QTime(23, 59)));
    program.keep(u"early"_s, at(day, QTime(1, 1)));
    program.keep(u"late"_s, at(day, QTime(23, 59)));
    program.keep(u"after"_s, at(day.addDays(1), QTime(0, 1)));
    CaptureCollectionViewByDateData data(*Capture::getCaptures());
    QCOMPARE(data.numberOfSectionsInCollectionView(), 3);
    QCOMPARE(textsOfSection(data, 0), QStringList{ u"after"_s });
    QCOMPARE(textsOfSection(data, 1), (QStringList{ u"late"_s, u"early"_s }));
    QCOMPARE(textsOfSection(data, 2), QStringList{ u"before"_s });
}

void CaptureCollectionViewByDateDataTest::newestDayAndCaptureComeFirst()
{
    Program program(support::Start::NotLaunched);
    program.keep(u"b2"_s, localTime(2026, 5, 2, 9, 0));
    program.keep(u"a1"_s, localTime(2025, 5, 3, 8, 0));
    program.keep(u"c1"_s, localTime(2026, 5, 3, 7, 0));
    program.keep(u"b1"_s, localTime(2026, 5, 2, 10, 0));
    CaptureCollectionViewByDateData data(*Capture::getCaptures());
    QCOMPARE(data.numberOfSectionsInCollectionView(), 3);
    QVERIFY(std::is_sorted(data.sortedKeys().begin(), data.sortedKeys().end(), std::greater<>{}));
    QCOMPARE(textsOfSection(data, 0), QStringList{ u"c1"_s });
    QCOMPARE(textsOfSection(data, 1), (QStringList{ u"b1"_s, u"b2"_s }));
    QCOMPARE(textsOfSection(data, 2), QStringList{ u"a1"_s });
}

void CaptureCollectionViewByDateDataTest::titlesSections_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QString>("header");
    QTest::newRow("GMT") << QByteArray("UTC") << u"6/10/26"_s;
    QTest::newRow("east of GMT") << QByteArray("Asia/Tokyo") << u"6/10/26"_s;
    // The key is local midnight plus the negative offset: an instant of the previous day.
    QTest::newRow("west of GMT") << QByteArray("America/Bogota") << u"6/9/26"_s;
}

void CaptureCollectionViewByDateDataTest::titlesSections()
{
    QFETCH(QByteArray, zone);
    QFETCH(QString, header);
    const TimeZone there(zone.constData());
    Program program;
    program.keep(u"x"_s, localTime(2026, 6, 10, 12, 0));
    auto* shown = list(program).findChild<ImageCollectionViewHeaderCell*>();
    QVERIFY(shown != nullptr);
    QCOMPARE(shown->findChild<QLabel*>(u"label"_s)->text(), header);
    const QRect box = shown->findChild<QWidget*>(u"boxBackground"_s)->geometry();
    const QImage picture = shown->grab().toImage();
    QCOMPARE(picture.pixelColor(box.right() - 6, box.center().y()), QColor(128, 128, 128));
    QVERIFY(qGray(picture.pixel(box.center().x(), box.top())) >= 128); // no border
}

void CaptureCollectionViewByDateDataTest::givesTheCaptureThatIsShown()
{
    Program program;
    program.keep(u"old"_s, localTime(2026, 6, 10, 12, 0));
    const auto middle = program.keep(u"middle"_s, localTime(2026, 6, 11, 12, 0));
    auto& view = list(program);
    view.selectItem({ 0, 0 });
    QCOMPARE(program.journal().selectedCapture(), middle);
    const auto newest = program.keep(u"newest"_s, localTime(2026, 6, 12, 12, 0));
    QCOMPARE(program.journal().selectedCapture(), middle);
    view.selectItem({ 0, 0 });
    QCOMPARE(program.journal().selectedCapture(), newest);
    view.selectItem({ 1, 0 });
    QCOMPARE(program.journal().selectedCapture(), middle);
}

void CaptureCollectionViewByDateDataTest::doesNothingForAnEmptySelection()
{
    Program program;
    const auto capture = program.keep(u"x"_s);
    auto& view = list(program);
    view.selectItem({ 0, 0 });
    program.journal().captureCollectionViewByDateData().didSelectItemsAtIndexPaths({});
    QCOMPARE(program.journal().selectedCapture(), capture);
}

void CaptureCollectionViewByDateDataTest::headersHaveOneSize()
{
    const CaptureCollectionViewByDateData data({});
    QCOMPARE(data.referenceSizeForHeaderInSection(0), QSizeF(180.0, 20.0));
    QCOMPARE(data.referenceSizeForHeaderInSection(7), QSizeF(180.0, 20.0));
}

void CaptureCollectionViewByDateDataTest::cellsAreRedOnlyOnALayer()
{
    vellumcap::ImageCollectionViewCell plain;
    plain.viewDidLoad();
    QVERIFY(plain.layer() == nullptr);
    vellumcap::ImageCollectionViewCell backed;
    backed.setWantsLayer(true);
    backed.viewDidLoad();
    QCOMPARE(backed.layer()->backgroundColor, QColor(Qt::red));
}

VELLUMCAP_TEST(CaptureCollectionViewByDateDataTest)
#include "tst_capturecollectionviewbydatedata.moc"
