#include "samples/SampleScene.h"

#include "samples/Random.h"
#include "samples/runInParallel.h"
#include "samples/scene/buildings.h"
#include "samples/scene/powerLine.h"
#include "samples/scene/streetFurniture.h"
#include "samples/scene/trees.h"
#include "samples/scene/waterside.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <variant>

namespace Samples
{
namespace
{
constexpr std::size_t kGroundCells = 160;  // per side; each is scanned like a surface of its own
constexpr double kGroundCell = SampleScene::kSize / kGroundCells;
constexpr std::size_t kItemsPerTask = 200;
constexpr int kAttempts = 24;          // to find a place of an item that can be seen
constexpr double kNoise = 0.006;       // metres, deviation of measured points across the surface
constexpr double kGroundShare = 1.15;  // of points per area, against walls
constexpr double kLeafShare = 0.2;     // most of a clump is hidden in its crown
constexpr double kGrid = 1000;         // steps per metre of measured coordinates
constexpr double kScannerHeight = 1.8;

constexpr std::uint8_t kGround = 2;
constexpr std::uint8_t kLowVegetation = 3;
constexpr std::uint8_t kWater = 9;
constexpr std::uint8_t kRoad = 11;

std::vector<Surface> built(const SitePlan& plan, const Terrain& terrain, std::uint64_t seed)
{
    std::vector<Surface> surfaces;
    addBuildings(surfaces, plan, terrain);
    addStreetFurniture(surfaces, terrain);
    addPowerLine(surfaces, terrain);
    addWaterside(surfaces, terrain, scrambled(seed + 1));
    addTrees(surfaces, plan, terrain, scrambled(seed + 2));
    return surfaces;
}

std::uint8_t groundClass(Material cover)
{
    switch (cover)
    {
        case Material::Asphalt:
        case Material::RoadMarking:
            return kRoad;
        case Material::Rape:
        case Material::Wheat:
            return kLowVegetation;
        default:
            return kGround;
    }
}

std::uint16_t to16Bits(double share)
{
    return static_cast<std::uint16_t>(std::floor(std::clamp(share, 0.0, 1.0) * 65535.0 + 0.5));
}

double onGrid(double coordinate)
{
    return std::floor(coordinate * kGrid + 0.5) / kGrid;
}

/// A number made of a place alone, so that what depends on chance there does not depend on who asks.
std::uint64_t placeSeed(Vector position)
{
    const auto steps = [](double value)
    { return static_cast<std::uint64_t>(static_cast<std::int64_t>(std::floor(value * kGrid))); };
    return scrambled(scrambled(scrambled(steps(position.x)) + steps(position.y)) + steps(position.z));
}
}  // namespace

SampleScene::SampleScene(std::uint64_t seed)
    : mSeed(seed),
      mPlan(scrambled(seed)),
      mTerrain(mPlan),
      mSurfaces(built(mPlan, mTerrain, seed)),
      mTree(mSurfaces),
      mDaylight(mTree)
{
    for (std::size_t i = 0; i < mSurfaces.size(); ++i)
    {
        const std::size_t group = mSurfaces[i].group;
        mCrowns.resize(std::max(mCrowns.size(), group + 1));
        Crown& crown = mCrowns[group];
        crown.first = crown.count == 0 ? i : crown.first;
        ++crown.count;
    }
    constexpr std::array<Vector, 8> kStands{
        {{25, 70, 0},
         {71, 70.5, 0},
         {116, 60, 0},
         {71, 114, 0},
         {103, 111, 0},
         {142, 95, 0},
         {83, 30, 0},
         {46, 130, 0}}};
    for (const Vector& stand : kStands)
    {
        mScanners.push_back({stand.x, stand.y, mTerrain.height(stand.x, stand.y) + kScannerHeight});
    }
}

std::vector<SamplePoint> SampleScene::scan(std::size_t pointCount, unsigned threadCount) const
{
    // items: all surfaces, then all cells of the ground; each gets its share of the points by weight
    const std::size_t itemCount = mSurfaces.size() + kGroundCells * kGroundCells;
    std::vector<double> sums(itemCount + 1);
    for (std::size_t i = 0; i < itemCount; ++i)
    {
        const bool isSurface = i < mSurfaces.size();
        sums[i + 1] =
            sums[i] + (isSurface ? surfaceWeight(mSurfaces[i]) : groundWeight(i - mSurfaces.size()));
    }
    const auto start = [&](std::size_t item)
    { return static_cast<std::size_t>(static_cast<double>(pointCount) * (sums[item] / sums.back())); };

    std::vector<SamplePoint> points(pointCount);
    const auto scanItems = [&](std::size_t task)
    {
        const std::size_t end = std::min((task + 1) * kItemsPerTask, itemCount);
        for (std::size_t item = task * kItemsPerTask; item < end; ++item)
        {
            scanItem(item, std::span(points).subspan(start(item), start(item + 1) - start(item)));
        }
    };
    runInParallel((itemCount + kItemsPerTask - 1) / kItemsPerTask, threadCount, scanItems);
    return points;
}

void SampleScene::scanItem(std::size_t item, std::span<SamplePoint> points) const
{
    Random random(mSeed ^ scrambled(item));
    for (SamplePoint& point : points)
    {
        ScenePlace place;
        for (int attempt = 0; attempt < kAttempts; ++attempt)
        {
            if (item >= mSurfaces.size())
            {
                place = sampleGround(item - mSurfaces.size(), random);
                if (!isHidden(place, 0, item))
                {
                    break;
                }
                continue;
            }
            const Surface& surface = mSurfaces[item];
            const auto sample = [&](const auto& shape) { return shape.sample(random); };
            place = placeOn(surface, std::visit(sample, surface.shape));
            if (!isHidden(place, surface.group, item))
            {
                break;
            }
        }
        point = measured(place, random);
    }
}

ScenePlace SampleScene::groundAt(double x, double y) const
{
    if (mTerrain.isUnderWater(x, y))
    {
        return {{{x, y, mTerrain.waterLevel()}, {0, 0, 1}}, {Material::Water, {}}, 1, kWater};
    }
    const Material cover = mPlan.cover(x, y);
    return {{{x, y, mTerrain.height(x, y)}, mTerrain.normal(x, y)}, {cover, {}}, 1, groundClass(cover)};
}

ScenePlace SampleScene::placeOn(const Surface& surface, const ShapePoint& point) const
{
    return {point, surface.finish, surface.openness, surface.classification};
}

ScenePlace SampleScene::sampleGround(std::size_t cell, Random& random) const
{
    const std::size_t row = cell / kGroundCells;
    const double x = (static_cast<double>(cell % kGroundCells) + random.unit()) * kGroundCell;
    const double y = (static_cast<double>(row) + random.unit()) * kGroundCell;
    return groundAt(x, y);
}

bool SampleScene::isHidden(const ScenePlace& place, std::uint32_t group, std::size_t surface) const
{
    const Vector p = place.point.position;
    if (p.x < 0 || p.y < 0 || p.x > kSize || p.y > kSize)
    {
        return true;
    }
    if (surface >= mSurfaces.size())
    {
        return mPlan.buildingDistance(p.x, p.y) < 0;
    }
    if (p.z < mTerrain.height(p.x, p.y) - 0.02 ||
        (p.z < mTerrain.waterLevel() && mTerrain.isUnderWater(p.x, p.y)))
    {
        return true;
    }
    if (group == 0)
    {
        return false;
    }
    const Crown& crown = mCrowns[group];
    const auto contains = [&](std::size_t other)
    {
        const Blob* blob = std::get_if<Blob>(&mSurfaces[other].shape);
        return other != surface && blob != nullptr && blob->contains(p);
    };
    for (std::size_t i = crown.first; i < crown.first + crown.count; ++i)
    {
        if (contains(i))
        {
            return true;
        }
    }
    return false;
}

double SampleScene::groundWeight(std::size_t cell) const
{
    const std::size_t row = cell / kGroundCells;
    const double x = (static_cast<double>(cell % kGroundCells) + 0.5) * kGroundCell;
    const double y = (static_cast<double>(row) + 0.5) * kGroundCell;
    if (mPlan.buildingDistance(x, y) < -kGroundCell)
    {
        return 0;
    }
    return kGroundShare * kGroundCell * kGroundCell * scanDensity({x, y, mTerrain.height(x, y)});
}

double SampleScene::surfaceWeight(const Surface& surface) const
{
    const auto area = [](const auto& shape) { return shape.area(); };
    const auto bounds = [](const auto& shape) { return shape.bounds(); };
    const Bounds box = std::visit(bounds, surface.shape);
    const double share = isFoliage(surface.finish.material) ? kLeafShare : 1.0;
    return std::visit(area, surface.shape) * surface.finish.density * share *
           scanDensity((box.min + box.max) * 0.5);
}

double SampleScene::scanDensity(Vector position) const
{
    const double distance = length(position - mScanners[nearestScanner(position)]);
    return 0.75 + 1.25 / (1 + distance * distance / 500.0);
}

std::size_t SampleScene::nearestScanner(Vector position) const
{
    const auto distance = [&](const Vector& scanner) { return length(position - scanner); };
    return static_cast<std::size_t>(std::ranges::min_element(mScanners, {}, distance) - mScanners.begin());
}

SamplePoint SampleScene::measured(ScenePlace place, Random& random) const
{
    Vector& position = place.point.position;
    const Vector normal = place.point.normal;
    const bool isGrass = place.finish.material == Material::Meadow ||
                         place.finish.material == Material::Rape || place.finish.material == Material::Wheat;
    const double growth = isGrass ? 0.08 * random.unit() : 0.0;
    const Tint color = mDaylight.photographed(place, random);
    position = position + normal * (kNoise * random.normal()) + Vector{0, 0, growth};
    position.x = std::clamp(onGrid(position.x), 0.0, kSize);
    position.y = std::clamp(onGrid(position.y), 0.0, kSize);
    position.z = std::max(onGrid(position.z), 0.0);

    const std::size_t scanner = nearestScanner(position);
    const Vector beam = mScanners[scanner] - position;
    const double range = length(beam);
    const double slant = std::abs(dot(beam, normal)) / std::max(range, 0.1);
    const double echo =
        beamReturn(place.finish.material) * (0.55 + 0.45 * slant) * (1 - 0.25 * range / (range + 60));
    const double grain = 1 + 0.06 * random.normal();
    const double brightness = 0.985 + 0.03 * random.unit();

    SamplePoint point;
    point.x = kOrigin.x + position.x;
    point.y = kOrigin.y + position.y;
    point.z = kOrigin.z + position.z;
    point.r = to16Bits(color.r * brightness);
    point.g = to16Bits(color.g * brightness);
    point.b = to16Bits(color.b * brightness);
    point.intensity = to16Bits(0.9 * echo * grain);
    point.classification = place.classification;
    point.scanIndex = static_cast<std::uint32_t>(scanner);
    point.nx = static_cast<float>(normal.x);
    point.ny = static_cast<float>(normal.y);
    point.nz = static_cast<float>(normal.z);
    return point;
}

std::optional<SceneHit> SampleScene::raycast(const Ray& ray, double maxDistance) const
{
    std::optional<SceneHit> best;
    const auto keep = [&](double distance, const ScenePlace& place)
    {
        best = SceneHit{distance, place};
        maxDistance = distance;
    };
    if (const std::optional<ShapeHit> ground = mTerrain.intersect(ray, maxDistance))
    {
        ScenePlace place = groundAt(ground->point.position.x, ground->point.position.y);
        place.point = ground->point;
        keep(ground->distance, place);
    }
    if (ray.direction.z != 0)
    {
        const double distance = (mTerrain.waterLevel() - ray.origin.z) / ray.direction.z;
        const Vector place = ray.origin + ray.direction * distance;
        const bool isInside = place.x >= 0 && place.y >= 0 && place.x <= kSize && place.y <= kSize;
        if (distance > 0 && distance < maxDistance && isInside && mTerrain.isUnderWater(place.x, place.y))
        {
            keep(distance, groundAt(place.x, place.y));
        }
    }
    if (const std::optional<SurfaceHit> hit = mTree.nearest(ray, maxDistance))
    {
        keep(hit->hit.distance, placeOn(mSurfaces[hit->surface], hit->hit.point));
    }
    return best;
}

Tint SampleScene::color(const ScenePlace& place) const
{
    Random random(placeSeed(place.point.position));
    return mDaylight.photographed(place, random);
}
}  // namespace Samples
