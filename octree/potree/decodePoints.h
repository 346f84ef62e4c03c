#pragma once

#include "octree/Export.h"
#include "octree/NodePointData.h"
#include "octree/potree/PointConversion.h"
#include "octree/potree/PointLayout.h"

#include <cstddef>
#include <span>

namespace Octree
{
class PointSink;
}

namespace PoTree
{
/// Decodes the unpacked bytes of a node in one pass.
///
/// Positions are (stored integer x scale + shift) x unit scale.
/// @param bytes       a whole number of points: the size is a multiple of layout.bytesPerPoint
/// @param attributes  Octree::AttributeMask bits; blocks have those that the data set has, but no normals
OCTREE_API void decodePoints(
    const PointLayout& layout,
    const PointConversion& conversion,
    std::span<const std::byte> bytes,
    unsigned attributes,
    Octree::PointSink& sink
);

/// The same into arrays. Those not wanted or not in the data set become empty. Storage of `out` is reused.
OCTREE_API void decodePoints(
    const PointLayout& layout,
    const PointConversion& conversion,
    std::span<const std::byte> bytes,
    unsigned attributes,
    Octree::NodePointColumns& out
);
}  // namespace PoTree
