#include "platform/store/StoreDate.h"

#include <algorithm>
#include <chrono>

namespace platform {

namespace {

constexpr std::int64_t dayLength = 86'400'000;

void putDigits(char* end, int count, unsigned value)
{
    for (; count > 0; --count, value /= 10) {
        *--end = static_cast<char>('0' + value % 10);
    }
}

/// The number in `count` decimal digits, or -1.
int digits(const char* text, int count)
{
    int value = 0;
    for (; count > 0; --count, ++text) {
        if (*text < '0' || *text > '9') {
            return -1;
        }
        value = value * 10 + (*text - '0');
    }
    return value;
}

bool hasSeparators(std::string_view text)
{
    return text[4] == '-' && text[7] == '-' && text[10] == 'T' && text[13] == ':' && text[16] == ':'
        && text[19] == '.' && text[23] == 'Z';
}

} // namespace

StoreDateText formatStoreDate(std::int64_t milliseconds)
{
    const std::int64_t instant = std::clamp(milliseconds, firstStoreDate, lastStoreDate);
    const auto day = std::chrono::floor<std::chrono::days>(
        std::chrono::sys_time<std::chrono::milliseconds>(std::chrono::milliseconds(instant)));
    const std::chrono::year_month_day date(day);
    const auto rest = static_cast<unsigned>(instant - day.time_since_epoch().count() * dayLength);

    StoreDateText text{ '0', '0', '0', '0', '-', '0', '0', '-', '0', '0', 'T', '0', '0', ':', '0',
        '0', ':', '0', '0', '.', '0', '0', '0', 'Z' };
    char* const start = text.data();
    putDigits(start + 4, 4, static_cast<unsigned>(static_cast<int>(date.year())));
    putDigits(start + 7, 2, static_cast<unsigned>(date.month()));
    putDigits(start + 10, 2, static_cast<unsigned>(date.day()));
    putDigits(start + 13, 2, rest / 3'600'000);
    putDigits(start + 16, 2, rest / 60'000 % 60);
    putDigits(start + 19, 2, rest / 1'000 % 60);
    putDigits(start + 23, 3, rest % 1'000);
    return text;
}

std::optional<std::int64_t> parseStoreDate(std::string_view text)
{
    if (text.size() != std::tuple_size_v<StoreDateText> || !hasSeparators(text)) {
        return std::nullopt;
    }
    const char* const start = text.data();
    const int yearNumber = digits(start, 4);
    const int monthNumber = digits(start + 5, 2);
    const int dayNumber = digits(start + 8, 2);
    const int hour = digits(start + 11, 2);
    const int minute = digits(start + 14, 2);
    const int second = digits(start + 17, 2);
    const int fraction = digits(start + 20, 3);
    if (yearNumber < 1 || monthNumber < 1 || dayNumber < 1 || hour < 0 || hour > 23 || minute < 0
        || minute > 59 || second < 0 || second > 59 || fraction < 0) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date(std::chrono::year(yearNumber),
        std::chrono::month(static_cast<unsigned>(monthNumber)),
        std::chrono::day(static_cast<unsigned>(dayNumber)));
    if (!date.ok()) {
        return std::nullopt;
    }
    const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
    return days * dayLength + ((hour * 60 + minute) * 60 + second) * std::int64_t{ 1000 }
    + fraction;
}

} // namespace platform
