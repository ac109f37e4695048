#include "journal/LocalDay.h"
#include "tests/support/Program.h"
#include "tests/support/TestMain.h"

using vellumcap::LocalDay;

class LocalDayTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void agreesWithTheCalendar_data();
    void agreesWithTheCalendar();
};

void LocalDayTest::agreesWithTheCalendar_data()
{
    QTest::addColumn<QByteArray>("zone");
    for (const char* zone : { "UTC", "Europe/Berlin", "America/Los_Angeles", "Asia/Kolkata",
             "America/Santiago", "Pacific/Apia", "Australia/Lord_Howe", "Pacific/Kiritimati" }) {
        QTest::newRow(zone) << QByteArray(zone);
    }
}

void LocalDayTest::agreesWithTheCalendar()
{
    QFETCH(QByteArray, zone);
    const support::TimeZone there(zone.constData());
    // Every five hours over some years with many changes, one of them before the epoch.
    constexpr qint64 step = 5 * 60 * 60 * 1000 + 1;
    for (const int year : { 1968, 2011, 2025 }) {
        const qint64 begin = QDateTime(QDate(year, 1, 1), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
        for (qint64 instant = begin; instant < begin + 366 * 24 * 3600 * qint64(1000);
             instant += step) {
            const LocalDay day = LocalDay::of(instant);
            const QDate date = QDateTime::fromMSecsSinceEpoch(instant).date();
            QCOMPARE(day.start, date.startOfDay(Qt::LocalTime).toMSecsSinceEpoch());
            QVERIFY(day.contains(instant));
            QVERIFY(QDateTime::fromMSecsSinceEpoch(day.end - 1).date() == date);
            QVERIFY(QDateTime::fromMSecsSinceEpoch(day.end).date() != date);
        }
    }
}

VELLUMCAP_TEST(LocalDayTest)
#include "tst_localday.moc"
