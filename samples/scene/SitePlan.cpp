#include "samples/scene/SitePlan.h"

#include "samples/Random.h"
#include "samples/scene/noise.h"
#include "samples/scene/portableMath.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Samples
{
namespace
{
constexpr double kRoadHalfWidth = 3.2;
constexpr double kPavementWidth = 1.7;
constexpr double kLaneHalfWidth = 2.1;
constexpr double kPathHalfWidth = 0.9;
constexpr double kGarden = 8.0;

constexpr std::array<Vector, 5> kPath{
    {{67.5, 107, 0}, {78, 103.5, 0}, {90, 106.5, 0}, {100, 110.5, 0}, {107.5, 113, 0}}};

/// A field with straight borders.
struct Field
{
    double left, bottom, right, top;
    Material crop;
    double height;  ///< of the crop, metres

    /// Metres inside the border, negative outside.
    double depth(double x, double y) const { return std::min({x - left, right - x, y - bottom, top - y}); }
};

constexpr std::array<Field, 4> kFields{{
    {87, 3, 157, 22, Material::Rape, 0.9},
    {87, 23, 157, 37, Material::Wheat, 0.6},
    {134, 140, 158, 158, Material::Soil, 0},
    {2, 88, 15, 157, Material::Soil, 0},
}};

double segmentDistance(Vector a, Vector b, Vector p)
{
    const Vector along = b - a;
    const double t = std::clamp(dot(p - a, along) / dot(along, along), 0.0, 1.0);
    return length(p - a - along * t);
}

/// A building beside the road, `setback` metres north of its middle, with its length along it.
Footprint besideRoad(double x, double setback, double length, double width)
{
    const double angle = SitePlan::roadAngle(x);
    const Vector along = heading(angle);
    return {x - along.y * setback, SitePlan::roadY(x) + along.x * setback, angle, length, width};
}
}  // namespace

double Footprint::distance(double px, double py) const noexcept
{
    const Vector along = heading(angle);
    const double u = std::abs((px - x) * along.x + (py - y) * along.y) - length / 2;
    const double v = std::abs((py - y) * along.x - (px - x) * along.y) - width / 2;
    const double outside =
        std::sqrt(std::max(u, 0.0) * std::max(u, 0.0) + std::max(v, 0.0) * std::max(v, 0.0));
    return outside + std::min(std::max(u, v), 0.0);
}

SitePlan::SitePlan(std::uint64_t seed)
{
    Random random(seed);
    const auto house = [&](Footprint footprint)
    {
        footprint.angle += random.between(-0.05, 0.05);
        footprint.length += random.between(-0.8, 1.2);
        mBuildings.push_back({BuildingKind::House, footprint, random.next()});
    };
    for (const double x : {21.0, 38.0, 54.0, 105.0, 122.0})
    {
        house(besideRoad(x, 13 + random.between(-1, 1), 11, 8.2));
    }
    for (const double x : {30.0, 47.0, 64.0, 81.0, 99.0})
    {
        house(besideRoad(x, -13 + random.between(-1, 1), 10.5, 8));
    }
    for (const double y : {94.0, 124.0, 141.0})
    {
        house({laneX(y) - 12, y, 1.5708, 11, 8.2});
    }
    for (const double y : {121.0, 138.0, 153.0})
    {
        house({laneX(y) + 12, y, 1.5708, 10.5, 8});
    }
    mBuildings.push_back({BuildingKind::Church, {83, 84, 0.08, 21, 10}, random.next()});
    mBuildings.push_back({BuildingKind::Barn, {133, 46.5, -0.04, 20, 11}, random.next()});
}

double SitePlan::roadY(double x) noexcept
{
    const double t = (x - 80) / 80;
    return 64 + 14 * (t * t * t - t);
}

double SitePlan::roadAngle(double x) noexcept
{
    const double t = (x - 80) / 80;
    const double slope = 14 * (3 * t * t - 1) / 80;
    return slope - slope * slope * slope / 3;  // arc tangent of a small number
}

double SitePlan::laneX(double y) noexcept
{
    const double t = (y - 64) / 96;
    return 66 + 10 * t * t;
}

double SitePlan::roadOffset(double x, double y) noexcept
{
    const double t = (x - 80) / 80;
    const double slope = 14 * (3 * t * t - 1) / 80;
    return (y - roadY(x)) / std::sqrt(1 + slope * slope);
}

double SitePlan::laneOffset(double x, double y) noexcept
{
    const double south = roadY(x) - y;
    const double offset = x - laneX(y);
    return south > 0 ? offset + (offset < 0 ? -south : south) * 4 : offset;
}

double SitePlan::pathDistance(double x, double y) noexcept
{
    double nearest = kSize;
    for (std::size_t i = 0; i + 1 < kPath.size(); ++i)
    {
        nearest = std::min(nearest, segmentDistance(kPath[i], kPath[i + 1], {x, y, 0}));
    }
    return nearest;
}

double SitePlan::pondDistance(double x, double y) noexcept
{
    const double u = (x - 124) / 17;
    const double v = (y - 117) / 12;
    return std::sqrt(u * u + v * v) + 0.1 * smoothNoise({x * 0.11, y * 0.11, 3});
}

double SitePlan::woodDensity(double x, double y) noexcept
{
    const double u = (x - 24) / 46;
    const double v = (y - 20) / 33;
    return smoothStep(1.05, 0.8, std::sqrt(u * u + v * v) + 0.12 * fractalNoise({x * 0.06, y * 0.06, 5}, 2));
}

double SitePlan::buildingDistance(double x, double y) const noexcept
{
    double nearest = kSize;
    for (const BuildingSite& building : mBuildings)
    {
        nearest = std::min(nearest, building.footprint.distance(x, y));
    }
    return nearest;
}

Material SitePlan::cover(double x, double y) const noexcept
{
    const double road = std::abs(roadOffset(x, y));
    const double lane = std::abs(laneOffset(x, y));
    if (road < kRoadHalfWidth)
    {
        const bool isDash = road < 0.08 && x - 6 * std::floor(x / 6) < 3 && lane > kLaneHalfWidth;
        const bool isEdge = std::abs(road - 2.9) < 0.07 && lane > kLaneHalfWidth + 1;
        return isDash || isEdge ? Material::RoadMarking : Material::Asphalt;
    }
    if (lane < kLaneHalfWidth)
    {
        return Material::Asphalt;
    }
    if (road < kRoadHalfWidth + kPavementWidth && x > 12 && x < 131)
    {
        return Material::Pavement;
    }
    if (pathDistance(x, y) < kPathHalfWidth)
    {
        return Material::Gravel;
    }
    if (pondDistance(x, y) < 1.1)
    {
        return Material::Mud;
    }
    for (const Field& field : kFields)
    {
        if (field.depth(x, y) > 0.3 * smoothNoise({x * 0.3, y * 0.3, 9}))
        {
            return field.crop;
        }
    }
    if (woodDensity(x, y) > 0.4)
    {
        return Material::ForestFloor;
    }
    double nearest = kSize;
    BuildingKind kind = BuildingKind::House;
    for (const BuildingSite& building : mBuildings)
    {
        const double distance = building.footprint.distance(x, y);
        if (distance < nearest)
        {
            nearest = distance;
            kind = building.kind;
        }
    }
    const double yard = kind == BuildingKind::House ? 1.2 : 5.0;
    if (nearest < yard + 0.4 * smoothNoise({x, y, 1}))
    {
        return kind == BuildingKind::House ? Material::Pavement : Material::Gravel;
    }
    return nearest < kGarden ? Material::Lawn : Material::Meadow;
}

double SitePlan::cropHeight(double x, double y) noexcept
{
    double height = 0;
    for (const Field& field : kFields)
    {
        height = std::max(height, field.height * smoothStep(0, 0.8, field.depth(x, y)));
    }
    return height;
}
}  // namespace Samples
