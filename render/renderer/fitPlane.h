#pragma once

#include "math/NPlane.h"
#include "math/Point.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Render
{
// The same points give the same plane, bit for bit, on every platform: random numbers come from a generator
// that the standard fixes, seeded anew for every call, and sums are formed in the order of the points.

/// The points that lie close to the best of a hundred planes through three random points each.
///
/// @param threshold  a point belongs to a plane when its distance is below this; its sign does not matter,
///                   NaN and 0 leave no points
/// @returns ascending indices, empty when there are fewer than three points or none of the planes has points
/// @throws std::length_error  for more than 2^32 - 1 points
/// Source  M. A. Fischler, R. C. Bolles, "Random Sample Consensus", CACM 24 (1981).
std::vector<std::uint32_t> robustPlaneInliers(
    std::span<const Math::Point<float, 3>> points, double threshold
);

/// The plane with the least sum of squared distances from the chosen points, its normal of unit length; which
/// side it points to is left open.
/// @param indices  of the points that count
/// @returns empty for fewer than three indices or when the points are not finite
std::optional<Math::NPlane<float, 3>> leastSquaresPlane(
    std::span<const Math::Point<float, 3>> points, std::span<const std::uint32_t> indices
);

/// Where the ray from `eye` through `target` meets the plane; empty when it is parallel or points away. An
/// eye on a plane that is parallel to the ray is itself the answer.
std::optional<Math::Point<float, 3>> intersection(
    const Math::NPlane<float, 3>& plane, const Math::Point<float, 3>& eye, const Math::Point<float, 3>& target
);
}  // namespace Render
