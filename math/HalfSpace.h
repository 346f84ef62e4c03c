#pragma once

#include "math/Point.h"

#include <cstddef>

namespace Math
{
/// The points p with normal . p + d >= 0; the normal points inwards and need not be of unit length.
template <class T, std::size_t N>
struct HalfSpace;

/// In space: a x + b y + c z + d >= 0.
template <class T>
struct HalfSpace<T, 3>
{
    T a{};  ///< of the normal (a, b, c)
    T b{};  ///< of the normal
    T c{};  ///< of the normal
    T d{};  ///< what evaluate() gives for the origin

    constexpr HalfSpace() = default;

    /// Of normal and distance.
    constexpr HalfSpace(T aValue, T bValue, T cValue, T dValue) : a(aValue), b(bValue), c(cValue), d(dValue)
    {
    }

    /// a x + b y + c z + d: the distance to the border times the normal's length, positive inside.
    constexpr T evaluate(const Point<T, 3>& p) const noexcept { return a * p.x + b * p.y + c * p.z + d; }

    /// True inside and on the border.
    constexpr bool contains(const Point<T, 3>& p) const noexcept { return evaluate(p) >= T{0}; }

    friend constexpr bool operator==(const HalfSpace&, const HalfSpace&) = default;
};
}  // namespace Math
