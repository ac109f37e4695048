#pragma once

#include <QHashFunctions>

#include <compare>

namespace platform {

/// The place of an item in a collection view.
struct IndexPath {
    int section = 0;
    int item = 0;
    /// In reading order.
    // NOLINTNEXTLINE(modernize-use-nullptr): takes the 0 of the comparison for a pointer
    auto operator<=>(const IndexPath&) const = default;
};

inline size_t qHash(const IndexPath& path, size_t seed = 0) noexcept
{
    return qHashMulti(seed, path.section, path.item);
}

} // namespace platform
