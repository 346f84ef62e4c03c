#pragma once

#include "math/Point.h"
#include "octree/Export.h"
#include "octree/NodePointData.h"
#include "octree/potree/PointLayout.h"

#include <cstddef>
#include <span>

namespace PoTree
{
/// How stored numbers become coordinates and colours.
struct PointConversion
{
    Math::Point<double, 3> scale;  ///< data units per stored unit
    Math::Point<double, 3> shift;  ///< what is added then, in data units
    double unitScale = 1.0;        ///< scene units per data unit
    bool wideColors = false;       ///< colour channels have 16 bits, otherwise 8
};

/// Turns the unpacked bytes of a node into arrays.
///
/// Positions are (stored integer x scale + shift) x unit scale. Each wanted array is filled in one pass;
/// arrays not wanted or not in the data set become empty. Storage of `out` is reused.
/// @param bytes       a whole number of points: the size is a multiple of layout.bytesPerPoint
/// @param attributes  Octree::AttributeMask bits
OCTREE_API void decodePoints(
    const PointLayout& layout,
    const PointConversion& conversion,
    std::span<const std::byte> bytes,
    unsigned attributes,
    Octree::NodePointColumns& out
);
}  // namespace PoTree
