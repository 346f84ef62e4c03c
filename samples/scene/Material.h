#pragma once

#include "samples/scene/Shape.h"
#include "samples/scene/Vector.h"

#include <cstdint>

namespace Samples
{
/// What a surface is made of.
enum class Material : std::uint8_t
{
    Plaster,
    Brick,
    Timber,
    Stone,
    RoofTile,
    Slate,
    SheetMetal,
    Glass,
    WindowFrame,
    SolarPanel,
    Bark,
    BirchBark,
    Foliage,
    Needles,
    Blossom,
    Reed,
    GalvanisedSteel,
    Cable,
    CarPaint,
    Rubber,
    Straw,
    Water,
    Asphalt,
    RoadMarking,
    Pavement,
    Gravel,
    Lawn,
    Meadow,
    Soil,
    Rape,
    Wheat,
    ForestFloor,
    Mud,
};

/// Red, green and blue, 0 to 1 for reflectances; light may be brighter. Linear, not gamma coded.
struct Tint
{
    double r = 1;
    double g = 1;
    double b = 1;

    friend constexpr Tint operator*(Tint x, Tint y) noexcept { return {x.r * y.r, x.g * y.g, x.b * y.b}; }

    friend constexpr Tint operator*(Tint a, double s) noexcept { return {a.r * s, a.g * s, a.b * s}; }

    friend constexpr Tint operator+(Tint x, Tint y) noexcept { return {x.r + y.r, x.g + y.g, x.b + y.b}; }
};

constexpr Tint mix(Tint a, Tint b, double t) noexcept
{
    return a * (1.0 - t) + b * t;
}

/// The share of light that the material reflects at a place, with its pattern: courses of bricks, rows of
/// crops, ...
/// @param tint  colours the materials that come in many colours: plaster, tiles, paint, leaves
Tint reflectance(Material material, const ShapePoint& point, Tint tint) noexcept;

/// How strongly a scanner's beam comes back, 0 to 1.
double beamReturn(Material material) noexcept;

/// True for leaves, which let some light through.
bool isFoliage(Material material) noexcept;
}  // namespace Samples
