#include "journal/LocalDay.h"

#include <QDateTime>

#include <ctime>
#include <optional>

namespace vellumcap {

namespace {

constexpr qint64 secondsOfADay = 24 * 60 * 60;

/// localtime_r() is fast: unlike Qt's conversions and mktime() it does not check at every call
/// whether the time zone file has changed.
std::optional<std::tm> localTime(qint64 seconds)
{
    const std::time_t time = seconds;
    std::tm local{};
    return localtime_r(&time, &local) != nullptr ? std::optional(local) : std::nullopt;
}

/// The day that contains `seconds`, unless the clock changes on that day.
std::optional<LocalDay> ordinaryDay(qint64 seconds)
{
    const auto now = localTime(seconds);
    if (!now) {
        return std::nullopt;
    }
    const qint64 start = seconds - ((now->tm_hour * 60 + now->tm_min) * 60 + now->tm_sec);
    const auto first = localTime(start);
    const auto next = localTime(start + secondsOfADay);
    if (!first || !next || first->tm_gmtoff != now->tm_gmtoff
        || next->tm_gmtoff != now->tm_gmtoff) {
        return std::nullopt;
    }
    return LocalDay{ start * 1000, (start + secondsOfADay) * 1000 };
}

} // namespace

LocalDay LocalDay::of(qint64 instant)
{
    const qint64 seconds = instant >= 0 ? instant / 1000 : (instant - 999) / 1000;
    if (const auto day = ordinaryDay(seconds)) {
        return *day;
    }
    const QDate date = QDateTime::fromMSecsSinceEpoch(instant).date();
    QDateTime next = date.addDays(1).startOfDay(Qt::LocalTime);
    if (!next.isValid()) {
        next = date.addDays(2).startOfDay(Qt::LocalTime); // zones have skipped a date
    }
    return { date.startOfDay(Qt::LocalTime).toMSecsSinceEpoch(), next.toMSecsSinceEpoch() };
}

} // namespace vellumcap
