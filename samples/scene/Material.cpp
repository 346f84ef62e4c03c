#include "samples/scene/Material.h"

#include "samples/scene/noise.h"
#include "samples/scene/portableMath.h"

#include <algorithm>
#include <cmath>

namespace Samples
{
namespace
{
/// 0 to 1 across each period.
double phase(double value, double period)
{
    const double t = value / period;
    return t - std::floor(t);
}

std::int64_t cellOf(double value, double size)
{
    return static_cast<std::int64_t>(std::floor(value / size));
}

/// Brighter and darker by up to `strength`, in patches of `size` metres.
double mottled(Vector position, double size, double strength)
{
    return 1.0 + strength * fractalNoise(position * (1.0 / size), 3);
}

Tint brick(const ShapePoint& point, Tint tint)
{
    const std::int64_t course = cellOf(point.v, 0.08);
    const double shifted = point.u + (course % 2 != 0 ? 0.13 : 0.0);
    const bool isJoint = phase(point.v, 0.08) > 0.86 || phase(shifted, 0.26) > 0.95;
    const double stone = 0.75 + 0.5 * latticeValue(cellOf(shifted, 0.26), course, 3);
    return isJoint ? Tint{0.42, 0.39, 0.35} : tint * stone;
}

Tint roofTile(const ShapePoint& point, Tint tint)
{
    const double row = phase(point.v, 0.34);
    const double wave = 0.5 - 0.5 * portableCos(point.u / 0.24 * 6.2831853);
    const double tile = 0.8 + 0.4 * latticeValue(cellOf(point.u, 0.24), cellOf(point.v, 0.34), 5);
    const double edge = row < 0.14 ? 0.6 : 1.0;
    return tint * (tile * edge * (0.85 + 0.2 * wave) * mottled(point.position, 2.5, 0.12));
}

Tint timber(const ShapePoint& point, Tint tint)
{
    const double board = 0.8 + 0.4 * latticeValue(cellOf(point.u, 0.18), 0, 7);
    const double gap = phase(point.u, 0.18) > 0.92 ? 0.45 : 1.0;
    return tint * (board * gap * mottled({point.u * 8.0, point.v * 0.7, 1.0}, 1.0, 0.12));
}

Tint stone(const ShapePoint& point, Tint tint)
{
    const std::int64_t course = cellOf(point.v, 0.32);
    const double shifted = point.u + 0.4 * latticeValue(course, 11, 0);
    const bool isJoint = phase(point.v, 0.32) > 0.93 || phase(shifted, 0.62) > 0.97;
    const double block = 0.82 + 0.36 * latticeValue(cellOf(shifted, 0.62), course, 9);
    return tint * ((isJoint ? 0.62 : block) * mottled(point.position, 1.5, 0.08));
}

Tint solarPanel(const ShapePoint& point)
{
    const bool isGrid = phase(point.u, 1.0) > 0.95 || phase(point.v, 1.65) > 0.96;
    return isGrid ? Tint{0.35, 0.36, 0.38} : Tint{0.02, 0.035, 0.085};
}

/// Rows of plants: earth shows between them.
Tint rows(Vector position, double spacing, Tint plant, Tint earth)
{
    const double across = position.x * 0.1 + position.y + 0.08 * smoothNoise(position * 0.7);
    const double cover = smoothStep(0.18, 0.42, std::abs(phase(across, spacing) - 0.5));
    const double fleck = 0.78 + 0.44 * latticeValue(cellOf(position.x, 0.07), cellOf(position.y, 0.07), 2);
    return mix(earth, plant, 0.35 + 0.65 * cover) * (fleck * mottled(position, 9.0, 0.12));
}

Tint grass(Vector position, Tint fresh, Tint dry, double patchSize)
{
    const double blades = 0.8 + 0.4 * latticeValue(cellOf(position.x, 0.05), cellOf(position.y, 0.05), 4);
    const double dryness = smoothStep(-0.6, 0.8, fractalNoise(position * (1.0 / patchSize), 4));
    return mix(fresh, dry, dryness) * (blades * mottled(position, 1.7, 0.14));
}

Tint ground(Material material, Vector position)
{
    const Vector flat{position.x, position.y, 0};
    switch (material)
    {
        case Material::Asphalt:
            return Tint{0.085, 0.085, 0.092} * mottled(flat, 3.0, 0.14);
        case Material::RoadMarking:
            return Tint{0.72, 0.72, 0.7} * mottled(flat, 0.4, 0.1);
        case Material::Pavement:
        {
            const bool isJoint = phase(position.x, 0.5) > 0.94 || phase(position.y, 0.5) > 0.94;
            const double slab =
                0.88 + 0.24 * latticeValue(cellOf(position.x, 0.5), cellOf(position.y, 0.5), 6);
            return Tint{0.36, 0.345, 0.32} * (isJoint ? 0.68 : slab);
        }
        case Material::Gravel:
            return Tint{0.4, 0.355, 0.285} *
                   ((0.75 + 0.5 * latticeValue(cellOf(position.x, 0.04), cellOf(position.y, 0.04), 8)) *
                    mottled(flat, 1.5, 0.1));
        case Material::Lawn:
        {
            const double stripe = phase(position.x * 0.6 + position.y * 0.8, 1.8) < 0.5 ? 1.08 : 0.94;
            return grass(flat, {0.105, 0.235, 0.045}, {0.145, 0.25, 0.06}, 6.0) * stripe;
        }
        case Material::Meadow:
        {
            const double flower = latticeValue(cellOf(position.x, 0.09), cellOf(position.y, 0.09), 12);
            const double bloom = fractalNoise(flat * 0.12 + Vector{40, 2, 0}, 2);
            if (flower > 0.985 - 0.05 * std::max(0.0, bloom))
            {
                return flower > 0.995 ? Tint{0.8, 0.78, 0.72} : Tint{0.75, 0.6, 0.1};
            }
            return grass(flat, {0.13, 0.225, 0.05}, {0.26, 0.27, 0.095}, 14.0);
        }
        case Material::Soil:
            return rows(position, 0.7, {0.205, 0.135, 0.085}, {0.115, 0.073, 0.045});
        case Material::Rape:
            return rows(position, 1.1, {0.66, 0.55, 0.035}, {0.2, 0.28, 0.05});
        case Material::Wheat:
            return rows(position, 0.9, {0.46, 0.375, 0.14}, {0.27, 0.225, 0.085});
        case Material::ForestFloor:
            return grass(flat, {0.09, 0.115, 0.035}, {0.155, 0.11, 0.06}, 5.0);
        default:
            return Tint{0.19, 0.155, 0.1} * mottled(flat, 1.2, 0.18);  // mud
    }
}

Tint leaves(const ShapePoint& point, Tint tint, double strength)
{
    const Vector p = point.position * 22.0;
    const double leaf = latticeValue(cellOf(p.x, 1.0), cellOf(p.y, 1.0), cellOf(p.z, 1.0));
    const double warm = 0.06 * (leaf - 0.5);
    return Tint{tint.r + warm, tint.g + 0.4 * warm, tint.b} * (1.0 - strength / 2 + strength * leaf);
}
}  // namespace

Tint reflectance(Material material, const ShapePoint& point, Tint tint) noexcept
{
    switch (material)
    {
        case Material::Plaster:
            return tint * mottled(point.position, 2.2, 0.045);
        case Material::Brick:
            return brick(point, tint);
        case Material::Timber:
            return timber(point, tint);
        case Material::Stone:
            return stone(point, tint);
        case Material::RoofTile:
            return roofTile(point, tint);
        case Material::Slate:
            return roofTile(point, tint);
        case Material::SheetMetal:
            return tint * (phase(point.u, 0.4) > 0.9 ? 0.75 : 1.0) * mottled(point.position, 3.0, 0.06);
        case Material::Glass:
            return Tint{0.035, 0.05, 0.065};
        case Material::SolarPanel:
            return solarPanel(point);
        case Material::BirchBark:
        {
            const double band = latticeValue(cellOf(point.position.z, 0.12), cellOf(point.normal.x, 0.7), 1);
            return band > 0.72 ? Tint{0.1, 0.09, 0.085} : Tint{0.62, 0.6, 0.56};
        }
        case Material::Bark:
            return tint * mottled({point.position.x * 4, point.position.y * 4, point.position.z}, 0.4, 0.25);
        case Material::Foliage:
            return leaves(point, tint, 0.7);
        case Material::Needles:
            return leaves(point, tint, 0.5);
        case Material::Blossom:
            return leaves(point, tint, 0.45);
        case Material::Straw:
            return tint * mottled(point.position, 0.12, 0.2);
        case Material::Water:
            return Tint{0.03, 0.055, 0.05};
        case Material::WindowFrame:
        case Material::Reed:
        case Material::GalvanisedSteel:
        case Material::Cable:
        case Material::CarPaint:
        case Material::Rubber:
            return tint;
        default:
            return ground(material, point.position);
    }
}

double beamReturn(Material material) noexcept
{
    switch (material)
    {
        case Material::Glass:
        case Material::Water:
            return 0.06;
        case Material::Asphalt:
        case Material::Rubber:
        case Material::SolarPanel:
            return 0.14;
        case Material::Slate:
        case Material::Cable:
        case Material::Mud:
            return 0.22;
        case Material::Soil:
        case Material::ForestFloor:
        case Material::Bark:
            return 0.3;
        case Material::Gravel:
        case Material::Pavement:
        case Material::Brick:
        case Material::RoofTile:
        case Material::Timber:
            return 0.42;
        case Material::Needles:
        case Material::Reed:
            return 0.5;
        case Material::Stone:
        case Material::GalvanisedSteel:
        case Material::SheetMetal:
        case Material::CarPaint:
            return 0.55;
        case Material::Foliage:
        case Material::Lawn:
        case Material::Meadow:
        case Material::Straw:
        case Material::Wheat:
            return 0.64;
        case Material::Plaster:
        case Material::WindowFrame:
        case Material::Rape:
        case Material::BirchBark:
        case Material::Blossom:
            return 0.76;
        case Material::RoadMarking:
            break;
    }
    return 0.95;
}

bool isFoliage(Material material) noexcept
{
    return material == Material::Foliage || material == Material::Needles || material == Material::Blossom;
}
}  // namespace Samples
