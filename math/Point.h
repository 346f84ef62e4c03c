#pragma once

#include <cstddef>
#include <type_traits>

namespace Math
{
/// A position in N-dimensional space; plain fields, no padding, copied as bytes into GPU buffers.
template <class T, std::size_t N>
struct Point;

/// A position in the plane.
template <class T>
struct Point<T, 2>
{
    T x{};  ///< first coordinate
    T y{};  ///< second coordinate

    constexpr Point() = default;

    /// Of coordinates.
    constexpr Point(T xValue, T yValue) : x(xValue), y(yValue) {}

    /// Coordinate i, 0 to 1; not range checked.
    constexpr T& operator[](std::size_t i) { return i == 0 ? x : y; }

    /// A coordinate by its number; not range checked.
    constexpr const T& operator[](std::size_t i) const { return i == 0 ? x : y; }

    friend constexpr bool operator==(const Point&, const Point&) = default;
};

/// A position in space.
template <class T>
struct Point<T, 3>
{
    T x{};  ///< first coordinate
    T y{};  ///< second coordinate
    T z{};  ///< third coordinate

    constexpr Point() = default;

    /// Of coordinates.
    constexpr Point(T xValue, T yValue, T zValue) : x(xValue), y(yValue), z(zValue) {}

    /// Coordinate i, 0 to 2; not range checked.
    constexpr T& operator[](std::size_t i) { return i == 0 ? x : (i == 1 ? y : z); }

    /// A coordinate by its number; not range checked.
    constexpr const T& operator[](std::size_t i) const { return i == 0 ? x : (i == 1 ? y : z); }

    friend constexpr bool operator==(const Point&, const Point&) = default;
};

static_assert(sizeof(Point<float, 2>) == 8 && std::is_trivially_copyable_v<Point<float, 2>>);
static_assert(sizeof(Point<float, 3>) == 12 && std::is_trivially_copyable_v<Point<float, 3>>);
}  // namespace Math
