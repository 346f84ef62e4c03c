#pragma once

#include "math/Point.h"
#include "octree/Export.h"
#include "octree/NodePointData.h"
#include "octree/rows/RowLayout.h"

#include <cstddef>
#include <span>

namespace Octree
{
class PointSink;

/// How values become coordinates and colours.
struct RowConversion
{
    Math::Point<double, 3> origin;  ///< absolute, in data units
    double unitScale = 1.0;         ///< scene units per data unit
    bool wideColors = false;        ///< colour channels have 16 bits, otherwise 8
};

/// Decodes the rows of a node in one pass.
///
/// Positions are (value - origin) x unit scale. Values of the other attributes are rounded and cut to the
/// range of their array; what is not a number becomes 0.
/// @param rows        a whole number of points: the size is a multiple of layout.bytesPerPoint
/// @param attributes  AttributeMask bits; blocks have those that the data set has, but no normals
/// @throws std::runtime_error  for coordinates that are not finite or beyond 1e30; the points before those
///                             have been handed over then
OCTREE_API void decodeRows(
    const RowLayout& layout,
    const RowConversion& conversion,
    std::span<const std::byte> rows,
    unsigned attributes,
    PointSink& sink
);

/// The same into arrays. Those not wanted or not in the data set become empty, after an exception all.
/// Storage of `out` is reused.
OCTREE_API void decodeRows(
    const RowLayout& layout,
    const RowConversion& conversion,
    std::span<const std::byte> rows,
    unsigned attributes,
    NodePointColumns& out
);

/// True when a colour channel of a row exceeds 8 bits; false for a layout without colours.
OCTREE_API bool hasWideColors(const RowLayout& layout, std::span<const std::byte> rows);
}  // namespace Octree
