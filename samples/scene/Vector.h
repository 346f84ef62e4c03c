#pragma once

#include <cmath>

namespace Samples
{
/// A direction or position in the scene's frame: metres, x east, y north, z up.
struct Vector
{
    double x = 0;
    double y = 0;
    double z = 0;

    friend constexpr Vector operator+(Vector a, Vector b) noexcept
    {
        return {a.x + b.x, a.y + b.y, a.z + b.z};
    }

    friend constexpr Vector operator-(Vector a, Vector b) noexcept
    {
        return {a.x - b.x, a.y - b.y, a.z - b.z};
    }

    friend constexpr Vector operator*(Vector a, double s) noexcept { return {a.x * s, a.y * s, a.z * s}; }

    friend constexpr Vector operator-(Vector a) noexcept { return {-a.x, -a.y, -a.z}; }

    friend constexpr bool operator==(const Vector&, const Vector&) noexcept = default;
};

constexpr double dot(Vector a, Vector b) noexcept
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

constexpr Vector cross(Vector a, Vector b) noexcept
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline double length(Vector a) noexcept
{
    return std::sqrt(dot(a, a));
}

/// Length 1; undefined for the zero vector.
inline Vector normalized(Vector a) noexcept
{
    return a * (1.0 / length(a));
}

/// Any two directions that are perpendicular to a unit vector and to each other.
struct Tangents
{
    Vector first;
    Vector second;
};

inline Tangents tangents(Vector normal) noexcept
{
    const Vector helper = std::abs(normal.z) < 0.9 ? Vector{0, 0, 1} : Vector{1, 0, 0};
    const Vector first = normalized(cross(helper, normal));
    return {first, cross(normal, first)};
}
}  // namespace Samples
