#pragma once

#include "octree/IntensityRange.h"
#include "octree/Location.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace Octree
{
/// What decides whether two users of node data can share a cache: the data set, the unit scale of its
/// coordinates, the data sets that attributes are taken from besides, and what becomes of intensities.
struct CacheIdentifier
{
    Location location;                                    ///< of the data set
    double unitScale = 1.0;                               ///< scene units per data unit
    std::vector<Location> externalLocations{};            ///< in the order in which they are asked
    std::optional<IntensityRange> shownIntensityRange{};  ///< see Octree::setShownIntensityRange

    friend bool operator==(const CacheIdentifier&, const CacheIdentifier&) = default;
};
}  // namespace Octree

/// Equal identifiers have equal hashes.
template <>
struct std::hash<Octree::CacheIdentifier>
{
    std::size_t operator()(const Octree::CacheIdentifier& identifier) const noexcept
    {
        std::size_t seed = identifier.location.hash();
        const auto add = [&seed](std::size_t next)
        { seed ^= next + 0x9e3779b9U + (seed << 6U) + (seed >> 2U); };
        add(std::hash<double>{}(identifier.unitScale));
        for (const Octree::Location& location : identifier.externalLocations)
        {
            add(location.hash());
        }
        if (identifier.shownIntensityRange)
        {
            add(std::hash<std::int32_t>{}(identifier.shownIntensityRange->darkest));
            add(std::hash<std::int32_t>{}(identifier.shownIntensityRange->brightest));
        }
        return seed;
    }
};
