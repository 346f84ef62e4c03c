#include "samples/scene/trees.h"

#include "samples/scene/portableMath.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Samples
{
namespace
{
constexpr std::uint8_t kLowVegetation = 3;
constexpr std::uint8_t kMediumVegetation = 4;
constexpr std::uint8_t kHighVegetation = 5;

/// What a broad-leaved tree is like.
struct Species
{
    double height = 10;
    double crownRadius = 3.5;
    double crownBase = 0.28;  ///< share of the height below the crown
    int lobes = 6;            ///< boughs that each carry a mass of leaves
    int clumps = 90;
    Material leaves = Material::Foliage;
    Tint tint{0.12, 0.25, 0.045};
    Material bark = Material::Bark;
    double droop = 0;  ///< how far the outer leaves hang down, metres
};

constexpr Species kOak{12.5, 4.8, 0.24, 8, 130, Material::Foliage, {0.105, 0.205, 0.04}};
constexpr Species kLinden{11, 3.5, 0.26, 6, 100, Material::Foliage, {0.15, 0.285, 0.05}};
constexpr Species kPoplar{17, 1.7, 0.08, 5, 110, Material::Foliage, {0.125, 0.24, 0.06}};
constexpr Species kBirch{
    12, 2.5, 0.26, 6, 75, Material::Foliage, {0.215, 0.335, 0.075}, Material::BirchBark, 0.5};
constexpr Species kCopperBeech{9.5, 3.4, 0.26, 6, 90, Material::Foliage, {0.2, 0.065, 0.05}};
constexpr Species kCherry{4.6, 1.9, 0.3, 5, 52, Material::Blossom, {0.77, 0.58, 0.6}};
constexpr Species kApple{4.4, 2.0, 0.3, 5, 52, Material::Blossom, {0.74, 0.7, 0.62}};
constexpr Species kWillow{8.5, 4.1, 0.2, 7, 120, Material::Foliage, {0.225, 0.325, 0.1}, Material::Bark, 2.2};

Vector randomDirection(Random& random)
{
    const double z = random.between(-1, 1);
    return heading(random.between(0, 2 * std::numbers::pi)) * std::sqrt(std::max(0.0, 1 - z * z)) +
           Vector{0, 0, z};
}

Tint varied(Tint tint, Random& random, double strength)
{
    const double light = 1 + random.between(-strength, strength);
    const double warmth = 1 + 0.6 * random.between(-strength, strength);
    return {tint.r * light * warmth, tint.g * light, tint.b * light / warmth};
}

/// Adds the trees of a scene; each crown gets a group of its own.
class Nursery
{
public:
    Nursery(std::vector<Surface>& surfaces, const Terrain& terrain, std::uint64_t seed)
        : mSurfaces(surfaces), mTerrain(terrain), mRandom(seed)
    {
    }

    Random& random() { return mRandom; }

    void plant(const Species& species, double x, double y, double size = 1)
    {
        ++mGroup;
        const double grown = size * mRandom.between(0.85, 1.15);
        const double height = species.height * grown;
        const double radius = species.crownRadius * grown;
        const Vector foot{x, y, mTerrain.height(x, y) - 0.2};
        const double base = height * species.crownBase;
        const Vector middle = foot + Vector{0, 0, (base + height) / 2};
        const double half = (height - base) / 2;
        const Finish bark{species.bark, {0.17, 0.125, 0.085}, 2};
        const double girth = 0.022 * height;
        const Vector lean{mRandom.between(-0.04, 0.04) * height, mRandom.between(-0.04, 0.04) * height, 0};
        addWood({foot, middle + lean * 0.5 - foot, girth, girth * 0.55}, bark);

        struct Lobe
        {
            Vector center;
            double radius;
            double half;
        };

        std::vector<Lobe> lobes{{middle + lean, radius * 0.72, half * 0.78}};
        for (int i = 0; i < species.lobes; ++i)
        {
            const double turn = 2 * std::numbers::pi * (i + mRandom.between(-0.3, 0.3)) / species.lobes;
            const double rise = mRandom.between(-0.55, 0.5);
            const double out = 0.55 * std::sqrt(1 - rise * rise);
            const double share = mRandom.between(0.42, 0.58);
            lobes.push_back(
                {middle + lean + heading(turn) * (radius * out) + Vector{0, 0, half * rise},
                 radius * share,
                 half * share}
            );
            const Vector fork = foot + (middle - foot) * mRandom.between(0.55, 0.9);
            addWood({fork, lobes.back().center - fork, girth * 0.45, girth * 0.12}, bark);
        }

        const Tint tint = varied(species.tint, mRandom, 0.16);
        for (int i = 0; i < species.clumps; ++i)
        {
            const Lobe& lobe = lobes[mRandom.below(static_cast<std::uint32_t>(lobes.size()))];
            const Vector direction = randomDirection(mRandom);
            const double depth = mRandom.between(0.72, 1);
            Vector center = lobe.center + Vector{
                                              direction.x * lobe.radius * depth,
                                              direction.y * lobe.radius * depth,
                                              direction.z * lobe.half * depth};
            const double outside =
                std::sqrt((center.x - x) * (center.x - x) + (center.y - y) * (center.y - y)) / radius;
            center.z -= species.droop * outside * outside * mRandom.unit();
            const double clump = std::sqrt(radius * half) * mRandom.between(0.17, 0.27);
            const double flatness = mRandom.between(0.65, 0.95) * (1 + 0.4 * species.droop);
            addLeaves(
                {center, clump, clump * flatness},
                {species.leaves,
                 varied(tint, mRandom, 0.12),
                 species.leaves == Material::Blossom ? 2.2 : 1.0},
                openness(center, middle, radius, half),
                kHighVegetation
            );
        }
    }

    void plantConifer(double x, double y, double height)
    {
        ++mGroup;
        const Vector foot{x, y, mTerrain.height(x, y) - 0.2};
        const double widest = height * mRandom.between(0.17, 0.22);
        const Finish bark{Material::Bark, {0.13, 0.085, 0.06}, 2};
        addWood({foot, {0, 0, height * 0.97}, 0.018 * height, 0.02}, bark);
        const Tint tint = varied({0.045, 0.115, 0.045}, mRandom, 0.2);
        const int whorls = static_cast<int>(height / 0.62);
        for (int whorl = 0; whorl < whorls; ++whorl)
        {
            const double t = (whorl + 0.5) / whorls;  // from the lowest branches to the tip
            const double reach = widest * (1 - t) * (0.82 + 0.36 * mRandom.unit());
            const double z = height * mix(0.13, 0.99, t);
            const int branches = std::max(3, static_cast<int>(8 * (1 - t) + 2));
            const double start = mRandom.between(0, 6.28);
            for (int branch = 0; branch < branches; ++branch)
            {
                const Vector out = heading(start + 2 * std::numbers::pi * branch / branches);
                const double clump = 0.2 + reach * 0.36;
                const Vector center = foot + out * (reach * 0.74) + Vector{0, 0, z - 0.16 * reach};
                addLeaves(
                    {center, clump, clump * 0.5},
                    {Material::Needles, varied(tint, mRandom, 0.15), 1.8},
                    mix(0.5, 1, t),
                    kHighVegetation
                );
            }
        }
        addLeaves({foot + Vector{0, 0, height}, 0.14, 0.5}, {Material::Needles, tint}, 1, kHighVegetation);
    }

    void plantBush(double x, double y, double size, Tint tint)
    {
        ++mGroup;
        const Vector foot{x, y, mTerrain.height(x, y)};
        const int clumps = 5 + static_cast<int>(size * 5);
        for (int i = 0; i < clumps; ++i)
        {
            const Vector direction = randomDirection(mRandom);
            const double clump = size * mRandom.between(0.28, 0.42);
            const Vector center =
                foot +
                Vector{direction.x * size * 0.6, direction.y * size * 0.6, size * (0.5 + 0.35 * direction.z)};
            const std::uint8_t code = size > 0.8 ? kMediumVegetation : kLowVegetation;
            addLeaves(
                {center, clump, clump * 0.85}, {Material::Foliage, varied(tint, mRandom, 0.15)}, 0.85, code
            );
        }
    }

private:
    static double openness(Vector place, Vector middle, double radius, double half)
    {
        const Vector s = place - middle;
        const double out = std::sqrt(s.x * s.x + s.y * s.y) / radius;
        const double up = s.z / half;
        return std::clamp(0.52 + 0.22 * out + 0.3 * up, 0.25, 1.0);
    }

    void addWood(const Tube& tube, const Finish& finish)
    {
        mSurfaces.push_back({.shape = tube, .finish = finish, .classification = kHighVegetation});
    }

    void addLeaves(const Blob& blob, const Finish& finish, double openness, std::uint8_t classification)
    {
        mSurfaces.push_back({blob, finish, openness, mGroup, classification});
    }

    std::vector<Surface>& mSurfaces;
    const Terrain& mTerrain;
    Random mRandom;
    std::uint32_t mGroup = 0;
};

void plantWood(Nursery& nursery, const SitePlan& plan)
{
    Random& random = nursery.random();
    std::vector<Vector> taken;
    for (int attempt = 0; attempt < 1500 && taken.size() < 74; ++attempt)
    {
        const Vector place{random.between(1, 72), random.between(1, 56), 0};
        const auto tooNear = [&](const Vector& other) { return length(other - place) < 5.2; };
        if (SitePlan::woodDensity(place.x, place.y) < random.between(0.45, 0.95) ||
            plan.buildingDistance(place.x, place.y) < 6 || std::ranges::any_of(taken, tooNear))
        {
            continue;
        }
        taken.push_back(place);
        const double kind = random.unit();
        if (kind < 0.52)
        {
            nursery.plantConifer(place.x, place.y, random.between(10, 17));
        }
        else
        {
            nursery.plant(kind < 0.8 ? kOak : (kind < 0.95 ? kBirch : kCopperBeech), place.x, place.y, 0.95);
        }
    }
    for (int i = 0; i < 40; ++i)
    {
        const Vector place{random.between(2, 76), random.between(2, 58), 0};
        const double density = SitePlan::woodDensity(place.x, place.y);
        if (density > 0.05 && density < 0.8 && plan.buildingDistance(place.x, place.y) > 4)
        {
            nursery.plantBush(place.x, place.y, random.between(0.6, 1.3), {0.12, 0.21, 0.05});
        }
    }
}

void plantOrchard(Nursery& nursery)
{
    for (int column = 0; column < 4; ++column)
    {
        for (int row = 0; row < 6; ++row)
        {
            const double x = 20 + 7.2 * column + nursery.random().between(-0.4, 0.4);
            const double y = 104 + 8.4 * row + nursery.random().between(-0.4, 0.4);
            nursery.plant((column + row) % 3 == 0 ? kCherry : kApple, x, y);
        }
    }
}

void plantAlongRoad(Nursery& nursery)
{
    for (double x = 136; x < 159; x += 7.5)
    {
        nursery.plant(kLinden, x, SitePlan::roadY(x) + 7);
        nursery.plant(kLinden, x - 2, SitePlan::roadY(x) - 7);
    }
    for (double x = 3; x < 13; x += 7.5)
    {
        nursery.plant(kLinden, x, SitePlan::roadY(x) - 7, 0.9);
    }
    for (double y = 128; y < 158; y += 5.2)  // poplars screen the lane's gardens from the meadow
    {
        nursery.plant(kPoplar, 98 + 0.05 * (y - 128), y, 0.9);
    }
}

void plantWaterside(Nursery& nursery)
{
    nursery.plant(kWillow, 143.5, 108);
    nursery.plant(kWillow, 104, 124.5, 0.9);
    nursery.plant(kBirch, 140, 132.5);
    nursery.plant(kBirch, 145, 128.5, 0.9);
    nursery.plant(kBirch, 141.5, 136.5, 0.8);
    nursery.plant(kOak, 119, 90, 0.95);
    nursery.plant(kCopperBeech, 101, 97.5, 0.85);
    nursery.plantConifer(152, 118, 12);
    nursery.plantConifer(155.5, 113, 9.5);
    for (int i = 0; i < 12; ++i)
    {
        const Vector out = heading(0.9 + 0.38 * i + nursery.random().between(-0.1, 0.1));
        nursery.plantBush(
            124 + 20.5 * out.x, 117 + 15 * out.y, nursery.random().between(0.5, 0.95), {0.15, 0.25, 0.07}
        );
    }
}

void plantGardens(Nursery& nursery, const SitePlan& plan)
{
    Random& random = nursery.random();
    for (const BuildingSite& site : plan.buildings())
    {
        const int trees = site.kind == BuildingKind::Barn ? 1 : 3;
        int planted = 0;
        for (int attempt = 0; attempt < 60 && planted < trees; ++attempt)
        {
            const double turn = random.between(0, 6.28);
            const Vector out = heading(turn) * random.between(8.5, 13);
            const double x = site.footprint.x + out.x;
            const double y = site.footprint.y + out.y;
            const bool isFree =
                plan.buildingDistance(x, y) > 3.4 && std::abs(SitePlan::roadOffset(x, y)) > 7 &&
                std::abs(SitePlan::laneOffset(x, y)) > 4.5 && SitePlan::pathDistance(x, y) > 3 &&
                SitePlan::cropHeight(x, y) == 0 && x > 3 && y > 3 && x < 157 && y < 157;
            if (!isFree)
            {
                continue;
            }
            ++planted;
            const double kind = random.unit();
            if (kind < 0.25)
            {
                nursery.plant(kCherry, x, y);
            }
            else if (kind < 0.4)
            {
                nursery.plant(kLinden, x, y, 0.65);
            }
            else if (kind < 0.65)
            {
                nursery.plant(kBirch, x, y, 0.75);
            }
            else
            {
                nursery.plantBush(x, y, random.between(0.7, 1.4), {0.13, 0.235, 0.05});
            }
        }
        if (site.kind == BuildingKind::House)  // a hedge along the garden's side
        {
            const Frame frame{{site.footprint.x, site.footprint.y, 0}, heading(site.footprint.angle)};
            for (double v = -5.5; v <= 5.5; v += 0.75)
            {
                const Vector place = frame.place({site.footprint.length / 2 + 2.6, v, 0});
                if (plan.buildingDistance(place.x, place.y) > 1.5 &&
                    std::abs(SitePlan::roadOffset(place.x, place.y)) > 5.8 &&
                    std::abs(SitePlan::laneOffset(place.x, place.y)) > 3.2)
                {
                    nursery.plantBush(place.x, place.y, 0.62, {0.075, 0.17, 0.04});
                }
            }
        }
    }
}
}  // namespace

void addTrees(
    std::vector<Surface>& surfaces, const SitePlan& plan, const Terrain& terrain, std::uint64_t seed
)
{
    Nursery nursery(surfaces, terrain, seed);
    plantWood(nursery, plan);
    plantOrchard(nursery);
    plantAlongRoad(nursery);
    plantWaterside(nursery);
    plantGardens(nursery, plan);
}
}  // namespace Samples
