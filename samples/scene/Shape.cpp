#include "samples/scene/Shape.h"

#include "samples/scene/portableMath.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Samples
{
namespace
{
constexpr double kNearest = 1e-6;  // metres; a ray that starts on a shape does not meet it there

Bounds around(Vector center, Vector halfSize)
{
    return {center - halfSize, center + halfSize};
}

/// The two distances at which a x^2 + 2 b x + c becomes 0, the smaller first.
struct Roots
{
    double first;
    double second;
};

std::optional<Roots> solve(double a, double halfB, double c)
{
    const double discriminant = halfB * halfB - a * c;
    if (discriminant < 0.0 || a == 0.0)
    {
        return std::nullopt;
    }
    const double root = std::sqrt(discriminant);
    const double one = (-halfB - root) / a;
    const double two = (-halfB + root) / a;
    return Roots{std::min(one, two), std::max(one, two)};
}
}  // namespace

void Bounds::include(const Bounds& other) noexcept
{
    min = {std::min(min.x, other.min.x), std::min(min.y, other.min.y), std::min(min.z, other.min.z)};
    max = {std::max(max.x, other.max.x), std::max(max.y, other.max.y), std::max(max.z, other.max.z)};
}

double Patch::area() const noexcept
{
    return length(cross(edgeU, edgeV)) * (isTriangle ? 0.5 : 1.0);
}

Bounds Patch::bounds() const noexcept
{
    Bounds result{origin, origin};
    for (const Vector corner : {origin + edgeU, origin + edgeV, isTriangle ? origin : origin + edgeU + edgeV})
    {
        result.include({corner, corner});
    }
    return result;
}

ShapePoint Patch::sample(Random& random) const noexcept
{
    double a = random.unit();
    double b = random.unit();
    if (isTriangle && a + b > 1.0)
    {
        a = 1.0 - a;
        b = 1.0 - b;
    }
    const Vector normal = normalized(cross(edgeU, edgeV));
    return {origin + edgeU * a + edgeV * b, normal, startU + a * length(edgeU), startV + b * length(edgeV)};
}

std::optional<ShapeHit> Patch::intersect(const Ray& ray, double maxDistance) const noexcept
{
    const Vector p = cross(ray.direction, edgeV);
    const double determinant = dot(edgeU, p);
    if (determinant == 0.0)
    {
        return std::nullopt;
    }
    const Vector s = ray.origin - origin;
    const double a = dot(s, p) / determinant;
    if (a < 0.0 || a > 1.0)
    {
        return std::nullopt;
    }
    const Vector q = cross(s, edgeU);
    const double b = dot(ray.direction, q) / determinant;
    if (b < 0.0 || (isTriangle ? a + b : b) > 1.0)
    {
        return std::nullopt;
    }
    const double distance = dot(edgeV, q) / determinant;
    if (distance < kNearest || distance > maxDistance)
    {
        return std::nullopt;
    }
    const Vector normal = normalized(cross(edgeU, edgeV));
    return ShapeHit{
        distance,
        {ray.origin + ray.direction * distance,
         normal,
         startU + a * length(edgeU),
         startV + b * length(edgeV)}};
}

double Blob::area() const noexcept
{
    return 4.0 * std::numbers::pi * radius *
           mix(radius, halfHeight, 0.6);  // near enough for sharing out points
}

Bounds Blob::bounds() const noexcept
{
    return around(center, {radius, radius, halfHeight});
}

ShapePoint Blob::sample(Random& random) const noexcept
{
    const double z = random.between(-1.0, 1.0);
    const double ring = std::sqrt(std::max(0.0, 1.0 - z * z));
    const Vector unit = heading(random.between(0.0, 2.0 * std::numbers::pi)) * ring + Vector{0, 0, z};
    const Vector normal{unit.x / radius, unit.y / radius, unit.z / halfHeight};
    return {center + Vector{unit.x * radius, unit.y * radius, unit.z * halfHeight}, normalized(normal)};
}

std::optional<ShapeHit> Blob::intersect(const Ray& ray, double maxDistance) const noexcept
{
    const double stretch = radius / halfHeight;  // makes a sphere of it
    const Vector s{ray.origin.x - center.x, ray.origin.y - center.y, (ray.origin.z - center.z) * stretch};
    const Vector d{ray.direction.x, ray.direction.y, ray.direction.z * stretch};
    const std::optional<Roots> roots = solve(dot(d, d), dot(s, d), dot(s, s) - radius * radius);
    if (!roots)
    {
        return std::nullopt;
    }
    const double distance = roots->first >= kNearest ? roots->first : roots->second;
    if (distance < kNearest || distance > maxDistance)
    {
        return std::nullopt;
    }
    const Vector unit = s + d * distance;
    return ShapeHit{
        distance, {ray.origin + ray.direction * distance, normalized({unit.x, unit.y, unit.z * stretch})}};
}

bool Blob::contains(Vector position) const noexcept
{
    const Vector s = position - center;
    const double across = (s.x * s.x + s.y * s.y) / (radius * radius);
    return across + s.z * s.z / (halfHeight * halfHeight) < 1.0;
}

double Tube::area() const noexcept
{
    const double side = std::numbers::pi * (baseRadius + endRadius) * length(axis);
    const double caps = std::numbers::pi * (baseRadius * baseRadius + endRadius * endRadius);
    return side + (isCapped ? caps : 0.0);
}

Bounds Tube::bounds() const noexcept
{
    const auto end = [](Vector center, double radius) { return around(center, {radius, radius, radius}); };
    Bounds result = end(base, baseRadius);
    result.include(end(base + axis, endRadius));
    return result;
}

ShapePoint Tube::sample(Random& random) const noexcept
{
    const double tall = length(axis);
    const Vector along = axis * (1.0 / tall);
    const Tangents across = tangents(along);
    const Vector turn = heading(random.between(0.0, 2.0 * std::numbers::pi));
    const Vector outwards = across.first * turn.x + across.second * turn.y;
    double pick = random.unit() * area();
    for (const bool atEnd : {false, true})
    {
        const double radius = atEnd ? endRadius : baseRadius;
        const double capArea = std::numbers::pi * radius * radius;
        if (isCapped && pick < capArea)
        {
            const Vector center = atEnd ? base + axis : base;
            return {center + outwards * (radius * std::sqrt(random.unit())), atEnd ? along : -along};
        }
        pick -= isCapped ? capArea : 0.0;
    }
    const double t = random.unit();
    const double radius = mix(baseRadius, endRadius, t);
    const Vector normal = outwards * tall + along * (baseRadius - endRadius);
    return {base + axis * t + outwards * radius, normalized(normal)};
}

std::optional<ShapeHit> Tube::intersect(const Ray& ray, double maxDistance) const noexcept
{
    const double tall = length(axis);
    const Vector along = axis * (1.0 / tall);
    const Vector s = ray.origin - base;
    const double slope = (endRadius - baseRadius) / tall;
    const double height = dot(s, along);
    const double climb = dot(ray.direction, along);
    const Vector s2 = s - along * height;
    const Vector d2 = ray.direction - along * climb;
    const double radius = baseRadius + slope * height;
    const double widening = slope * climb;

    std::optional<ShapeHit> best;
    const auto offer = [&](double distance, Vector normal)
    {
        if (distance >= kNearest && distance <= maxDistance && (!best || distance < best->distance))
        {
            best = ShapeHit{distance, {ray.origin + ray.direction * distance, normal}};
        }
    };
    const double a = dot(d2, d2) - widening * widening;
    const double halfB = dot(s2, d2) - radius * widening;
    const double c = dot(s2, s2) - radius * radius;
    if (const std::optional<Roots> roots = solve(a, halfB, c))
    {
        for (const double distance : {roots->first, roots->second})
        {
            const double reached = height + climb * distance;
            if (reached >= 0.0 && reached <= tall)
            {
                offer(distance, normalized(normalized(s2 + d2 * distance) - along * slope));
            }
        }
    }
    if (isCapped && climb != 0.0)
    {
        for (const bool atEnd : {false, true})
        {
            const double distance = ((atEnd ? tall : 0.0) - height) / climb;
            const Vector offset = s2 + d2 * distance;
            const double capRadius = atEnd ? endRadius : baseRadius;
            if (dot(offset, offset) <= capRadius * capRadius)
            {
                offer(distance, atEnd ? along : -along);
            }
        }
    }
    return best;
}
}  // namespace Samples
