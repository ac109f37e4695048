#include "journal/CaptureImageBrowserDatasource.h"
#include "tests/support/Program.h"
#include "tests/support/TestMain.h"

using namespace Qt::StringLiterals;

using support::Program;
using support::Start;
using vellumcap::CaptureImageBrowserDatasource;

class CaptureImageBrowserTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void describesACapture();
    void writesSubtitles_data();
    void writesSubtitles();
    void followsTheJournal();
};

void CaptureImageBrowserTest::describesACapture()
{
    Program program(Start::NotLaunched);
    const auto capture = program.keep(u"text"_s);
    const CaptureImageBrowserDatasource source({ capture });
    QCOMPARE(source.numberOfItemsInImageBrowser(), 1);
    const auto item = source.itemAtIndex(0);
    QCOMPARE(item.capture(), capture);
    QCOMPARE(item.imageUID(), capture->captureImageKey());
    QCOMPARE(item.imageTitle(), u"text"_s);
    QCOMPARE(item.imageRepresentation(), capture->getImage());
    QCOMPARE(item.imageRepresentationType(), vellumcap::ImageRepresentationType::ImageFile);
}

void CaptureImageBrowserTest::writesSubtitles_data()
{
    QTest::addColumn<QTime>("time");
    QTest::addColumn<QString>("subtitle");
    QTest::newRow("unpadded minute") << QTime(9, 5) << u"2026-06-10 @ 9:5 AM"_s;
    QTest::newRow("afternoon") << QTime(15, 45) << u"2026-06-10 @ 3:45 PM"_s;
    QTest::newRow("midnight") << QTime(0, 0) << u"2026-06-10 @ 12:0 AM"_s;
}

void CaptureImageBrowserTest::writesSubtitles()
{
    QFETCH(QTime, time);
    QFETCH(QString, subtitle);
    const support::TimeZone there("Asia/Tokyo");
    Program program(Start::NotLaunched);
    const auto capture
        = program.keep(u"x"_s, QDateTime(QDate(2026, 6, 10), time, Qt::LocalTime).toUTC());
    QCOMPARE(vellumcap::CaptureImageBrowserItem(capture).imageSubtitle(), subtitle);
}

void CaptureImageBrowserTest::followsTheJournal()
{
    Program program;
    auto& source = program.journal().captureImageBrowserDatasource();
    QCOMPARE(source.numberOfItemsInImageBrowser(), 0);
    program.keep(u"x"_s);
    QCOMPARE(source.numberOfItemsInImageBrowser(), 1);
}

VELLUMCAP_TEST(CaptureImageBrowserTest)
#include "tst_captureimagebrowser.moc"
