#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace platform {

/// Dates in a store file: ISO 8601 in UTC with milliseconds, from the year 0001 to 9999,
/// such as 2024-02-29T23:59:59.999Z. Instants are milliseconds since 1970.
using StoreDateText = std::array<char, 24>;

inline constexpr std::int64_t firstStoreDate = -62'135'596'800'000;
inline constexpr std::int64_t lastStoreDate = 253'402'300'799'999;

/// An instant outside of these years is written as the nearest one inside.
StoreDateText formatStoreDate(std::int64_t milliseconds);
/// Nullopt unless the text has exactly this form and the date exists.
std::optional<std::int64_t> parseStoreDate(std::string_view text);

} // namespace platform
