#pragma once

#include "math/Point.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace Math
{
/// An axis-aligned box, empty while the minimum exceeds the maximum on some axis.
///
/// The default box is the empty one that any first point replaces: min at the largest, max at the lowest
/// value.
/// Threads  a plain value.
template <class T, std::size_t N>
class NBoundingBox
{
public:
    constexpr NBoundingBox()
    {
        for (std::size_t axis = 0; axis < N; ++axis)
        {
            mMin[axis] = std::numeric_limits<T>::max();
            mMax[axis] = std::numeric_limits<T>::lowest();
        }
    }

    /// Between two corners, taken as they are.
    constexpr NBoundingBox(const Point<T, N>& min, const Point<T, N>& max) : mMin(min), mMax(max) {}

    /// The corner of the lowest coordinates.
    constexpr const Point<T, N>& min() const noexcept { return mMin; }

    /// The corner of the highest coordinates.
    constexpr const Point<T, N>& max() const noexcept { return mMax; }

    /// Whether the lowest coordinate is above the highest on any axis; a box of one point is not empty.
    constexpr bool isEmpty() const noexcept
    {
        for (std::size_t axis = 0; axis < N; ++axis)
        {
            if (mMin[axis] > mMax[axis])
            {
                return true;
            }
        }
        return false;
    }

    /// Widens the box, axis by axis, so that it holds the point.
    constexpr void extend(const Point<T, N>& point) noexcept
    {
        for (std::size_t axis = 0; axis < N; ++axis)
        {
            mMin[axis] = point[axis] < mMin[axis] ? point[axis] : mMin[axis];
            mMax[axis] = point[axis] > mMax[axis] ? point[axis] : mMax[axis];
        }
    }

    /// Widens the box, axis by axis, so that it holds the other one; the default empty box widens nothing.
    constexpr void extend(const NBoundingBox& other) noexcept
    {
        for (std::size_t axis = 0; axis < N; ++axis)
        {
            mMin[axis] = other.mMin[axis] < mMin[axis] ? other.mMin[axis] : mMin[axis];
            mMax[axis] = other.mMax[axis] > mMax[axis] ? other.mMax[axis] : mMax[axis];
        }
    }

    /// Side length of one axis, 0 where max is below min.
    constexpr T size(std::size_t axis) const noexcept
    {
        return mMax[axis] > mMin[axis] ? mMax[axis] - mMin[axis] : T{0};
    }

    /// The largest of the side lengths.
    constexpr T largestSize() const noexcept
    {
        T largest{0};
        for (std::size_t axis = 0; axis < N; ++axis)
        {
            largest = size(axis) > largest ? size(axis) : largest;
        }
        return largest;
    }

    /// The midpoint per axis. Values above half the largest number are halved before they are added, so that
    /// the sum does not overflow; equal infinities stay what they are.
    Point<T, N> center() const noexcept
    {
        Point<T, N> result;
        for (std::size_t axis = 0; axis < N; ++axis)
        {
            result[axis] = midpoint(mMin[axis], mMax[axis]);
        }
        return result;
    }

    /// True when the point lies inside or on the border.
    constexpr bool contains(const Point<T, N>& point) const noexcept
    {
        for (std::size_t axis = 0; axis < N; ++axis)
        {
            if (!(point[axis] >= mMin[axis] && point[axis] <= mMax[axis]))
            {
                return false;
            }
        }
        return true;
    }

    /// Corner i of 2^N; bit N-1 of i chooses the first axis, bit 0 the last, a set bit the maximum. For N = 3
    /// that is x = 4, y = 2, z = 1, the numbering of octree children.
    constexpr Point<T, N> corner(std::size_t i) const noexcept
    {
        Point<T, N> result;
        for (std::size_t axis = 0; axis < N; ++axis)
        {
            result[axis] = ((i >> (N - 1 - axis)) & 1U) != 0 ? mMax[axis] : mMin[axis];
        }
        return result;
    }

    friend constexpr bool operator==(const NBoundingBox&, const NBoundingBox&) = default;

private:
    static T midpoint(T a, T b) noexcept
    {
        constexpr T kHalfOfLargest = std::numeric_limits<T>::max() / T{2};
        if (a == b)
        {
            return a;
        }
        if (std::abs(a) > kHalfOfLargest || std::abs(b) > kHalfOfLargest)
        {
            return a / T{2} + b / T{2};
        }
        return (a + b) / T{2};
    }

    Point<T, N> mMin;
    Point<T, N> mMax;
};

static_assert(sizeof(NBoundingBox<float, 3>) == 24);
}  // namespace Math
