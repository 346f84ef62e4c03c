#pragma once

#include "math/Point.h"
#include "render/renderer/MappedImage.h"
#include "render/renderer/SearchSquare.h"

#include <optional>
#include <vector>

namespace Render
{
// Pictures of positions have four floats a texel: x, y, z, and a fourth above 0 where something was drawn, a
// hit. A square is scanned column by column from the left, each column from the top; it must lie inside the
// picture.

/// The hit nearest to the eye, the first of equally near ones; empty when there is none. Squared distances
/// beyond the largest float do not count; of hits whose distance is not a number the first is found when
/// there is no other.
std::optional<Math::Point<float, 3>> closestHit(
    const MappedImage& positions, const SearchSquare& square, const Math::Point<float, 3>& eye
);

/// All hits in the order of the scan, but a position equal to the one before it only once.
std::vector<Math::Point<float, 3>> distinctHits(const MappedImage& positions, const SearchSquare& square);
}  // namespace Render
