#pragma once

#include "math/HalfSpace.h"

#include <array>
#include <cstddef>

namespace Math
{
/// The six inward planes of a view volume, in the order left, right, bottom, top, near, far.
///
/// Shape  24 floats: (a, b, c, d) per plane; a point is inside a plane when a x + b y + c z + d >= 0.
template <class T>
struct Frustum
{
    static constexpr std::size_t kNear = 4;  ///< index of the near plane
    static constexpr std::size_t kFar = 5;   ///< index of the far plane

    std::array<HalfSpace<T, 3>, 6> planes{};  ///< inward, in the order above

    /// True when the point satisfies all six planes, borders included.
    constexpr bool contains(const Point<T, 3>& point) const noexcept
    {
        for (const HalfSpace<T, 3>& plane : planes)
        {
            if (!plane.contains(point))
            {
                return false;
            }
        }
        return true;
    }

    friend constexpr bool operator==(const Frustum&, const Frustum&) = default;
};

static_assert(sizeof(Frustum<float>) == 96);
}  // namespace Math
