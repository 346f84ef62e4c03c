#pragma once

#include "octree/OctreeNodeId.h"
#include "samples/OctreeWriter.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Samples
{
/// A node for which hierarchy.bin gets a record.
struct HierarchyNode
{
    WrittenNode node;
    unsigned flags = 0;
};

struct Hierarchy
{
    std::string bytes;               ///< all of hierarchy.bin
    std::size_t firstChunkSize = 0;  ///< bytes of the root's chunk
    std::size_t proxyCount = 0;
};

/// Adds the nodes that are missing between the root and the given ones, sorts all breadth first and sets
/// their child masks. An empty list becomes the root alone.
/// @throws std::invalid_argument  for a node that occurs twice
void completeTree(std::vector<HierarchyNode>& nodes);

/// The records of a complete tree, in chunks of `stepSize` levels that proxies link.
/// @param nodes  as completeTree leaves them
Hierarchy encodeHierarchy(
    const std::vector<HierarchyNode>& nodes, unsigned stepSize, RecordTypes recordTypes
);
}  // namespace Samples
