#pragma once

#include "math/NBoundingBox.h"
#include "octree/OctreeNodeId.h"

#include <cstdint>

namespace Octree
{
/// Octant `index` of a node's box: bit 2 chooses the upper half in x, bit 1 in y, bit 0 in z.
inline Math::NBoundingBox<double, 3> childBox(const Math::NBoundingBox<double, 3>& parent, unsigned index)
{
    Math::Point<double, 3> min = parent.min();
    Math::Point<double, 3> max = parent.max();
    for (unsigned axis = 0; axis < 3; ++axis)
    {
        const double center = min[axis] + (max[axis] - min[axis]) * 0.5;
        (((index >> (2U - axis)) & 1U) != 0 ? min[axis] : max[axis]) = center;
    }
    return {min, max};
}

/// The box of a node of the octree whose root has the box `root`.
inline Math::NBoundingBox<double, 3> nodeBox(
    const Math::NBoundingBox<double, 3>& root, const OctreeNodeId& id
)
{
    Math::NBoundingBox<double, 3> box = root;
    for (std::uint64_t level = id.level(); level > 0; --level)
    {
        box = childBox(box, static_cast<unsigned>((id.code() >> (3U * (level - 1U))) & 7U));
    }
    return box;
}
}  // namespace Octree
