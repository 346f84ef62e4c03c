#pragma once

#include <octree/Octree.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace Cli
{
/// Counts of a data set's whole hierarchy.
struct HierarchyStatistics
{
    struct Level
    {
        std::uint64_t nodes = 0;
        std::uint64_t points = 0;
    };

    std::uint64_t nodes = 0;
    std::uint64_t points = 0;
    std::vector<Level> levels;  ///< index = level
};

/// Calls the visitor with every node, coarse levels first, empty nodes included, until it returns false; what
/// it does not get to see is not read.
/// @throws std::runtime_error  when the hierarchy is broken
void visitNodes(const Octree::Octree& octree, const std::function<bool(const Octree::NodeInfo&)>& visitor);

/// Walks the whole hierarchy and counts, with progress.
/// @throws std::runtime_error  when the hierarchy is broken
HierarchyStatistics countHierarchy(const Octree::Octree& octree);
}  // namespace Cli
