#include "samples/scene/waterside.h"

#include "samples/scene/portableMath.h"

#include <cmath>
#include <numbers>

namespace Samples
{
namespace
{
constexpr std::uint8_t kLowVegetation = 3;
constexpr std::uint8_t kWood = 68;  // LAS leaves 64 and up to users
constexpr std::uint8_t kStones = 2;

void addReeds(std::vector<Surface>& surfaces, const Terrain& terrain, Random& random)
{
    Assembly reeds(surfaces, {}, kLowVegetation);
    for (int i = 0; i < 5000; ++i)
    {
        const double x = random.between(104, 145);
        const double y = random.between(102, 133);
        const double ground = terrain.height(x, y);
        const double depth = terrain.waterLevel() - ground;
        const bool isClear = x < 112 || y > 125 || (x > 131 && y < 113);
        if (!isClear || depth < -0.25 || depth > 0.5 || SitePlan::pathDistance(x, y) < 2)
        {
            continue;
        }
        const Vector lean{
            random.between(-0.2, 0.2), random.between(-0.2, 0.2), random.between(0.9, 1.6) + depth};
        const double shade = random.between(0.7, 1.15);
        const Finish blade{Material::Reed, Tint{0.26, 0.3, 0.085} * shade, 5};
        reeds.tube({x, y, ground}, Vector{x, y, ground} + lean, 0.02, 0.005, blade);
    }
}

void addStones(std::vector<Surface>& surfaces, const Terrain& terrain, Random& random)
{
    Assembly stones(surfaces, {}, kStones);
    for (int i = 0; i < 1600; ++i)
    {
        const double x = random.between(104, 145);
        const double y = random.between(102, 133);
        const double ground = terrain.height(x, y);
        if (std::abs(terrain.waterLevel() - ground) < 0.12)
        {
            const double radius = random.between(0.12, 0.42);
            const double grey = random.between(0.24, 0.42);
            stones.blob(
                {x, y, ground}, radius, radius * 0.7, {Material::Plaster, {grey, grey * 0.97, grey * 0.92}}
            );
        }
    }
}

void addJetty(std::vector<Surface>& surfaces, const Terrain& terrain)
{
    const Finish planks{Material::Timber, {0.36, 0.29, 0.21}, 2};
    const Vector along = normalized({8.5, 1.2, 0});
    Assembly jetty(surfaces, {{106.5, 113, terrain.waterLevel()}, along}, kWood);
    jetty.box({0, -0.8, 0.42}, {9, 1.6, 0.09}, planks);
    for (double x = 1.5; x < 9.2; x += 1.85)
    {
        for (const double y : {-0.72, 0.72})
        {
            jetty.tube({x, y, -1.5}, {x, y, 1.05}, 0.09, 0.08, planks, true);
        }
    }

    const Finish hull{Material::CarPaint, {0.08, 0.19, 0.33}, 3};
    const Finish bottom{Material::Timber, {0.4, 0.28, 0.16}, 3};
    Assembly boat(surfaces, {{117.2, 117.4, terrain.waterLevel()}, normalized({1, 0.35, 0})}, kWood);
    for (const double side : {-1.0, 1.0})
    {
        boat.quad({-1.4, side * 0.62, 0}, {2.1, 0, 0}, {0, side * 0.12, 0.42}, hull);
        boat.triangle({0.7, side * 0.62, 0}, {1.25, -side * 0.62, 0.12}, {0, side * 0.12, 0.42}, hull);
        boat.triangle({0.7, side * 0.74, 0.42}, {1.25, -side * 0.62, -0.3}, {1.35, -side * 0.74, 0.1}, hull);
    }
    boat.quad({-1.4, -0.62, 0}, {0, 1.24, 0}, {-0.06, 0, 0.42}, hull);
    boat.quad({-1.4, -0.62, 0.08}, {2.3, 0, 0}, {0, 1.24, 0}, bottom);
    for (const double x : {-0.9, 0.2})
    {
        boat.box({x, -0.64, 0.28}, {0.24, 1.28, 0.04}, bottom);
    }
}
}  // namespace

void addWaterside(std::vector<Surface>& surfaces, const Terrain& terrain, std::uint64_t seed)
{
    Random random(seed);
    addReeds(surfaces, terrain, random);
    addStones(surfaces, terrain, random);
    addJetty(surfaces, terrain);
}
}  // namespace Samples
