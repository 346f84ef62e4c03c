#pragma once

#include "octree/Location.h"

#include <cstddef>
#include <functional>
#include <utility>

namespace Octree
{
/// What decides whether two users of node data can share a cache: the data set and the unit scale of its
/// coordinates.
struct CacheIdentifier
{
    Location location;
    double unitScale = 1.0;

    friend bool operator==(const CacheIdentifier&, const CacheIdentifier&) = default;
};
}  // namespace Octree

template <>
struct std::hash<Octree::CacheIdentifier>
{
    std::size_t operator()(const Octree::CacheIdentifier& identifier) const noexcept
    {
        const std::size_t seed = identifier.location.hash();
        return seed ^ (std::hash<double>{}(identifier.unitScale) + 0x9e3779b9U + (seed << 6U) + (seed >> 2U));
    }
};
