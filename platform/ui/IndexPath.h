#pragma once

#include <QHashFunctions>

#include <tuple>

namespace platform {

/// The place of an item in a collection view.
struct IndexPath {
    int section = 0;
    int item = 0;
    bool operator==(const IndexPath&) const = default;
    bool operator<(const IndexPath& other) const
    {
        return std::tie(section, item) < std::tie(other.section, other.item);
    }
};

inline size_t qHash(const IndexPath& path, size_t seed = 0) noexcept
{
    return qHashMulti(seed, path.section, path.item);
}

} // namespace platform
