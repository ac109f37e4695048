#pragma once

#include <QHashFunctions>

#include <compare>

namespace platform {

/// The place of an item in a collection view.
struct IndexPath {
    int section = 0;
    int item = 0;
    auto operator<=>(const IndexPath&) const = default; ///< in reading order
};

inline size_t qHash(const IndexPath& path, size_t seed = 0) noexcept
{
    return qHashMulti(seed, path.section, path.item);
}

} // namespace platform
