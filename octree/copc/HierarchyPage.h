#pragma once

#include "octree/Export.h"
#include "octree/NodeTable.h"
#include "octree/OctreeNodeId.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Copc
{
/// What a page of the hierarchy says of a node.
struct NodeEntry
{
    Octree::OctreeNodeId id;   ///< which node
    std::uint64_t offset = 0;  ///< in the file, of its chunk, or of the page that describes it
    std::uint32_t size = 0;    ///< of that, in bytes
    std::int32_t count = 0;    ///< number of points, or Octree::kPointsElsewhere
};

static_assert(sizeof(NodeEntry) == 24);

/// Reads and checks a page.
/// @param bytes  a whole number of entries
/// @param first  the node that the page begins with; it must be listed with its own number of points
/// @throws std::runtime_error  naming the node, but not the file, for nodes outside the cube or too deep, for
///                             negative numbers and sizes, and as Octree::NodeTable does
OCTREE_API Octree::NodeTable<NodeEntry> parseHierarchyPage(
    std::span<const std::byte> bytes, const Octree::OctreeNodeId& first
);
}  // namespace Copc
