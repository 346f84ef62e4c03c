#pragma once

#include "octree/Export.h"
#include "octree/rows/Dimension.h"

#include <array>
#include <cstddef>
#include <optional>

namespace Octree
{
/// Which dimensions of a row the attributes of points are read from.
///
/// Threads  a plain value.
struct RowLayout
{
    /// Three dimensions that belong together.
    using Triple = std::array<Dimension, 3>;

    /// AttributeMask bits of what points have.
    OCTREE_API unsigned attributeMask() const noexcept;

    /// Bits of AttributeMask::kRecordAttributes of what points have.
    OCTREE_API unsigned recordMask() const noexcept;

    std::size_t bytesPerPoint = 0;            ///< of a row
    Triple position;                          ///< coordinates
    std::optional<Triple> rgb;                ///< red, green and blue
    std::optional<Dimension> intensity;       ///< as stored
    std::optional<Dimension> classification;  ///< as stored
    std::optional<Dimension> scanIndex;       ///< what tells the scan of a point
    std::optional<Triple> normal;             ///< of the surface
    std::optional<Dimension> returnNumber;    ///< 1 for the first
    std::optional<Dimension> returnCount;     ///< of a pulse
    std::optional<Dimension> gpsTime;         ///< as stored
    std::optional<Dimension> userData;        ///< as stored
    std::optional<Dimension> scanAngle;       ///< degrees
};
}  // namespace Octree
