#pragma once

#include "math/Point.h"
#include "octree/OctreeNodeId.h"

#include <cstdint>

namespace Render
{
/// What is needed to draw one octree node from the buffers of its cloud.
struct NodeRecord
{
    Octree::OctreeNodeId octreeNodeId;  ///< which node
    std::uint64_t index = 0;            ///< the node's texel in the octree texture
    std::uint64_t level = 0;            ///< 0 for the root
    std::uint64_t firstPoint = 0;       ///< index of the node's first vertex
    std::uint64_t pointCount = 0;       ///< number of its vertices
    Math::Point<float, 3> boxMin;       ///< minimum corner of the node's bounding cube, model coordinates
};
}  // namespace Render
