#pragma once

#include <cstdint>
#include <limits>

namespace Octree
{
/// What a node's children have in common.
struct ChildSummary
{
    unsigned mask = 0;  ///< bit i: child i exists

    /// Points of the child that has the fewest, as the hierarchy says; the largest number without children.
    std::uint64_t fewestPoints = std::numeric_limits<std::uint64_t>::max();
};
}  // namespace Octree
