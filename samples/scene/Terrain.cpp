#include "samples/scene/Terrain.h"

#include "samples/scene/noise.h"
#include "samples/scene/portableMath.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Samples
{
namespace
{
constexpr double kPondGround = 2.6;  // metres, the flat land around the pond
constexpr double kPondDepth = 2.0;
constexpr double kWaterBelowGround = 0.45;

/// The land as it was before anything was built.
double wildHeight(double x, double y)
{
    const double dx = (x - 24) / 66;
    const double dy = (y - 20) / 58;
    const double nearness = std::max(0.0, 1 - dx * dx - dy * dy);
    const double hill = 15 * nearness * nearness;
    const double slope = 4.5 - 0.016 * (x + y - SitePlan::kSize);
    const double swell = 0.9 * fractalNoise({x / 38, y / 38, 0}, 3);
    const double land = slope + swell + hill + 0.05 * fractalNoise({x / 3, y / 3, 2}, 2);
    const double pond = SitePlan::pondDistance(x, y);
    return mix(land, kPondGround + 0.12 * swell, smoothStep(2.1, 1.2, pond)) -
           kPondDepth * smoothStep(1.15, 0.7, pond);
}

/// The land evened out along a way.
double roadHeight(double x)
{
    double sum = 0;
    for (int i = -4; i <= 4; ++i)
    {
        const double along = x + 3 * i;
        sum += wildHeight(along, SitePlan::roadY(along));
    }
    return sum / 9;
}

double laneHeight(double y)
{
    double sum = 0;
    for (int i = -3; i <= 3; ++i)
    {
        const double along = std::max(y + 3 * i, SitePlan::roadY(SitePlan::laneX(y)));
        sum += wildHeight(SitePlan::laneX(along), along);
    }
    return sum / 7;
}

double builtHeight(const SitePlan& plan, const std::vector<double>& floors, double x, double y)
{
    double height = wildHeight(x, y);
    const double lane = std::abs(SitePlan::laneOffset(x, y));
    if (lane < 8)
    {
        height = mix(height, laneHeight(y), smoothStep(7, 2.5, lane));
    }
    for (std::size_t i = 0; i < floors.size(); ++i)
    {
        const double distance = plan.buildings()[i].footprint.distance(x, y);
        if (distance < 5)
        {
            height = mix(height, floors[i], smoothStep(5, 0.7, distance));
        }
    }
    const double road = std::abs(SitePlan::roadOffset(x, y));
    if (road < 10)
    {
        const double kerb = road > 3.2 && road < 4.9 && x > 12 && x < 131 ? 0.12 : 0.0;
        height = mix(height, roadHeight(x), smoothStep(9, 4.9, road)) + kerb;
    }
    return height + SitePlan::cropHeight(x, y) * (1 + 0.1 * fractalNoise({x, y, 7}, 2));
}
}  // namespace

Terrain::Terrain(const SitePlan& plan)
{
    std::vector<double> floors;
    for (const BuildingSite& building : plan.buildings())
    {
        floors.push_back(wildHeight(building.footprint.x, building.footprint.y));
    }
    mHeights.reserve((kCells + 1) * (kCells + 1));
    for (std::size_t row = 0; row <= kCells; ++row)
    {
        for (std::size_t column = 0; column <= kCells; ++column)
        {
            const double x = static_cast<double>(column) * kCellSize;
            const double y = static_cast<double>(row) * kCellSize;
            mHeights.push_back(builtHeight(plan, floors, x, y));
        }
    }
    mWaterLevel = kPondGround - kWaterBelowGround;
    mLowest = std::ranges::min(mHeights);
    mHighest = std::ranges::max(mHeights);
}

double Terrain::height(double x, double y) const noexcept
{
    const double u = std::clamp(x / kCellSize, 0.0, static_cast<double>(kCells));
    const double v = std::clamp(y / kCellSize, 0.0, static_cast<double>(kCells));
    const std::size_t column = std::min(static_cast<std::size_t>(u), kCells - 1);
    const std::size_t row = std::min(static_cast<std::size_t>(v), kCells - 1);
    const double a = u - static_cast<double>(column);
    const double b = v - static_cast<double>(row);
    const double z00 = node(column, row);
    const double z11 = node(column + 1, row + 1);
    if (a >= b)  // the triangle below the cell's diagonal
    {
        const double z10 = node(column + 1, row);
        return z00 + a * (z10 - z00) + b * (z11 - z10);
    }
    const double z01 = node(column, row + 1);
    return z00 + b * (z01 - z00) + a * (z11 - z01);
}

Vector Terrain::normal(double x, double y) const noexcept
{
    constexpr double kStep = 0.4;
    const double slopeX = (height(x + kStep, y) - height(x - kStep, y)) / (2 * kStep);
    const double slopeY = (height(x, y + kStep) - height(x, y - kStep)) / (2 * kStep);
    return normalized({-slopeX, -slopeY, 1});
}

bool Terrain::isUnderWater(double x, double y) const noexcept
{
    return height(x, y) < mWaterLevel && SitePlan::pondDistance(x, y) < 1.6;
}

std::optional<ShapeHit> Terrain::intersect(const Ray& ray, double maxDistance) const noexcept
{
    // the part of the ray inside the terrain's box
    double from = 0;
    double to = maxDistance;
    const auto clip = [&](double origin, double direction, double low, double high)
    {
        if (direction == 0)
        {
            to = origin < low || origin > high ? -1.0 : to;
            return;
        }
        const double a = (low - origin) / direction;
        const double b = (high - origin) / direction;
        from = std::max(from, std::min(a, b));
        to = std::min(to, std::max(a, b));
    };
    clip(ray.origin.x, ray.direction.x, 0, SitePlan::kSize);
    clip(ray.origin.y, ray.direction.y, 0, SitePlan::kSize);
    clip(ray.origin.z, ray.direction.z, mLowest - kCellSize, mHighest + kCellSize);
    if (from > to)
    {
        return std::nullopt;
    }

    // from cell to cell over the border that is nearest along the ray
    const auto cellAt = [](double coordinate)
    {
        const double cell =
            std::clamp(std::floor(coordinate / kCellSize), 0.0, static_cast<double>(kCells - 1));
        return static_cast<std::ptrdiff_t>(cell);
    };
    const Vector start = ray.origin + ray.direction * from;
    std::ptrdiff_t column = cellAt(start.x);
    std::ptrdiff_t row = cellAt(start.y);
    const auto borderDistance = [](double origin, double direction, std::ptrdiff_t cell)
    {
        if (direction == 0)
        {
            return std::numeric_limits<double>::infinity();
        }
        return (static_cast<double>(cell + (direction > 0 ? 1 : 0)) * kCellSize - origin) / direction;
    };
    const auto count = static_cast<std::ptrdiff_t>(kCells);
    while (column >= 0 && column < count && row >= 0 && row < count)
    {
        const std::optional<ShapeHit> hit =
            intersectCell(ray, static_cast<std::size_t>(column), static_cast<std::size_t>(row));
        if (hit && hit->distance <= maxDistance)
        {
            return hit;
        }
        const double nextX = borderDistance(ray.origin.x, ray.direction.x, column);
        const double nextY = borderDistance(ray.origin.y, ray.direction.y, row);
        if (std::min(nextX, nextY) > to)
        {
            break;
        }
        if (nextX < nextY)
        {
            column += ray.direction.x > 0 ? 1 : -1;
        }
        else
        {
            row += ray.direction.y > 0 ? 1 : -1;
        }
    }
    return std::nullopt;
}

std::optional<ShapeHit> Terrain::intersectCell(const Ray& ray, std::size_t column, std::size_t row)
    const noexcept
{
    const auto corner = [&](std::size_t i, std::size_t j)
    {
        return Vector{
            static_cast<double>(column + i) * kCellSize,
            static_cast<double>(row + j) * kCellSize,
            node(column + i, row + j),
        };
    };
    const Vector near = corner(0, 0);
    const Vector far = corner(1, 1);
    std::optional<ShapeHit> best;
    for (const Patch& triangle :
         {Patch{near, corner(1, 0) - near, far - near, true},
          Patch{near, far - near, corner(0, 1) - near, true}})
    {
        const double limit = best ? best->distance : std::numeric_limits<double>::infinity();
        if (const std::optional<ShapeHit> hit = triangle.intersect(ray, limit))
        {
            best = hit;
        }
    }
    if (best)
    {
        const Vector place = best->point.position;
        best->point = {place, normal(place.x, place.y)};
    }
    return best;
}
}  // namespace Samples
