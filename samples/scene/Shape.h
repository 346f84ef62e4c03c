#pragma once

#include "samples/Random.h"
#include "samples/scene/Vector.h"

#include <optional>
#include <variant>

namespace Samples
{
/// Axis-aligned bounds.
struct Bounds
{
    Vector min;
    Vector max;

    void include(const Bounds& other) noexcept;
};

/// A straight line from an origin; the direction has length 1.
struct Ray
{
    Vector origin;
    Vector direction;
};

/// A place on a shape.
struct ShapePoint
{
    Vector position;
    Vector normal;  ///< length 1, outwards
    double u = 0;   ///< metres along a patch's edges, for patterns; 0 on other shapes
    double v = 0;
};

/// A place on a shape that a ray meets.
struct ShapeHit
{
    double distance = 0;  ///< metres from the ray's origin
    ShapePoint point;
};

/// A parallelogram, or the triangle that is its half at the origin. Seen from both sides.
struct Patch
{
    Vector origin;
    Vector edgeU;  ///< edgeU x edgeV points outwards
    Vector edgeV;
    bool isTriangle = false;
    double startU = 0;  ///< where the patterns along the edges begin, in metres
    double startV = 0;

    double area() const noexcept;
    Bounds bounds() const noexcept;
    ShapePoint sample(Random& random) const noexcept;
    std::optional<ShapeHit> intersect(const Ray& ray, double maxDistance) const noexcept;
};

/// An upright ellipsoid of revolution: clumps of leaves, stones, domes.
struct Blob
{
    Vector center;
    double radius = 1;      ///< across
    double halfHeight = 1;  ///< upwards

    double area() const noexcept;
    Bounds bounds() const noexcept;
    ShapePoint sample(Random& random) const noexcept;
    std::optional<ShapeHit> intersect(const Ray& ray, double maxDistance) const noexcept;
    bool contains(Vector position) const noexcept;
};

/// A round bar or truncated cone: trunks, poles, wires, bales.
struct Tube
{
    Vector base;
    Vector axis;  ///< from the base's centre to the other end's
    double baseRadius = 1;
    double endRadius = 1;
    bool isCapped = false;

    double area() const noexcept;
    Bounds bounds() const noexcept;
    ShapePoint sample(Random& random) const noexcept;
    std::optional<ShapeHit> intersect(const Ray& ray, double maxDistance) const noexcept;
};

using Shape = std::variant<Patch, Blob, Tube>;
}  // namespace Samples
