#pragma once

#include "math/Point.h"

#include <cstddef>

namespace Math
{
/// The points p with normal . p + d = 0.
template <class T, std::size_t N>
struct NPlane;

/// In space: a x + b y + c z + d = 0.
template <class T>
struct NPlane<T, 3>
{
    T a{};  ///< of the normal (a, b, c)
    T b{};  ///< of the normal
    T c{};  ///< of the normal
    T d{};  ///< see above

    constexpr NPlane() = default;

    /// Of normal and distance.
    constexpr NPlane(T aValue, T bValue, T cValue, T dValue) : a(aValue), b(bValue), c(cValue), d(dValue) {}

    /// a x + b y + c z + d: the signed distance when (a, b, c) has unit length.
    constexpr T evaluate(const Point<T, 3>& p) const noexcept { return a * p.x + b * p.y + c * p.z + d; }

    friend constexpr bool operator==(const NPlane&, const NPlane&) = default;
};
}  // namespace Math
