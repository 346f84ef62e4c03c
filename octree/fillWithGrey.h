#pragma once

#include "math/Color.h"
#include "octree/Export.h"

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace Octree
{
/// Opaque greys (intensity - min) x 255 / (max - min), cut off below 0 and above 255. White where the range
/// is empty, since then it tells nothing.
/// @param out  as many as intensities
OCTREE_API void fillWithGrey(
    std::span<const std::uint16_t> intensities,
    const std::pair<std::uint16_t, std::uint16_t>& range,
    std::span<Math::Color> out
);

/// The same into an array that becomes as long.
OCTREE_API void fillWithGrey(
    std::span<const std::uint16_t> intensities,
    const std::pair<std::uint16_t, std::uint16_t>& range,
    std::vector<Math::Color>& out
);
}  // namespace Octree
