#pragma once

#include "octree/Export.h"
#include "octree/entwine/Metadata.h"

#include <array>
#include <cstddef>
#include <optional>

namespace Entwine
{
/// Which dimensions of a row the attributes of points are read from.
///
/// Colours and normals need all three of theirs. The scan index is PointSourceId, else OriginId. Of laszip
/// tiles only what every LAS point has counts: no normals and no OriginId.
struct TileLayout
{
    /// Three dimensions that belong together.
    using Triple = std::array<Dimension, 3>;

    /// Finds the attributes in the schema.
    OCTREE_API explicit TileLayout(const Metadata& metadata);

    /// Octree::AttributeMask bits of what points have.
    OCTREE_API unsigned attributeMask() const noexcept;

    std::size_t bytesPerPoint;                ///< of a row
    Triple position;                          ///< X, Y and Z
    std::optional<Triple> rgb;                ///< Red, Green and Blue
    std::optional<Dimension> intensity;       ///< Intensity
    std::optional<Dimension> classification;  ///< Classification
    std::optional<Dimension> scanIndex;       ///< PointSourceId or OriginId
    std::optional<Triple> normal;             ///< NormalX, NormalY and NormalZ
};
}  // namespace Entwine
