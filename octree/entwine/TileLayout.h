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
    using Triple = std::array<Dimension, 3>;

    OCTREE_API explicit TileLayout(const Metadata& metadata);

    /// Octree::AttributeMask bits of what points have.
    OCTREE_API unsigned attributeMask() const noexcept;

    std::size_t bytesPerPoint;
    Triple position;
    std::optional<Triple> rgb;
    std::optional<Dimension> intensity;
    std::optional<Dimension> classification;
    std::optional<Dimension> scanIndex;
    std::optional<Triple> normal;
};
}  // namespace Entwine
