#include "samples/SampleScene.h"
#include "samples/scene/portableMath.h"
#include "samples/scene/powerLine.h"
#include "samples/writeSampleDataset.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <set>
#include <vector>

namespace
{
using Samples::Ray;
using Samples::SamplePoint;
using Samples::SampleScene;
using Samples::SceneHit;
using Samples::Vector;

constexpr std::size_t kCount = 40000;

const SampleScene& scene()
{
    static const SampleScene instance(1);
    return instance;
}

const std::vector<SamplePoint>& points()
{
    static const std::vector<SamplePoint> instance = scene().scan(kCount);
    return instance;
}

Vector local(const SamplePoint& point)
{
    return {
        point.x - SampleScene::kOrigin.x, point.y - SampleScene::kOrigin.y, point.z - SampleScene::kOrigin.z};
}

bool equal(const SamplePoint& a, const SamplePoint& b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z && a.r == b.r && a.g == b.g && a.b == b.b &&
           a.intensity == b.intensity && a.classification == b.classification && a.scanIndex == b.scanIndex &&
           a.nx == b.nx && a.ny == b.ny && a.nz == b.nz;
}

TEST(SampleScene, ScansExactlyAsManyPointsAsAsked)
{
    EXPECT_EQ(points().size(), kCount);
    EXPECT_EQ(scene().scan(1).size(), 1U);
    EXPECT_TRUE(scene().scan(0).empty());
}

TEST(SampleScene, TheSameSeedGivesTheSamePointsOnAnyNumberOfThreads)
{
    const std::vector<SamplePoint> again = SampleScene(1).scan(kCount, 3);

    EXPECT_TRUE(std::ranges::equal(again, points(), equal));
}

/// FNV-1a over everything that a scan says, in numbers that do not depend on the platform's layout.
std::uint64_t fingerprint(const std::vector<SamplePoint>& scan)
{
    std::uint64_t hash = 0xcbf29ce484222325U;
    const auto add = [&](std::uint64_t value)
    {
        hash ^= value;
        hash *= 0x100000001b3U;
    };
    for (const SamplePoint& point : scan)
    {
        for (const double value : {point.x, point.y, point.z})
        {
            add(std::bit_cast<std::uint64_t>(value));
        }
        for (const float value : {point.nx, point.ny, point.nz})
        {
            add(std::bit_cast<std::uint32_t>(value + 0.0F));  // one zero for both signs
        }
        for (const unsigned value :
             {unsigned{point.r},
              unsigned{point.g},
              unsigned{point.b},
              unsigned{point.intensity},
              unsigned{point.classification},
              unsigned{point.scanIndex}})
        {
            add(value);
        }
    }
    return hash;
}

TEST(SampleScene, TheSameSeedGivesTheSamePointsOnEveryPlatform)
{
    // recorded with GCC 12 on Linux; changes with each change of the scene, but must not differ between
    // builds
    EXPECT_EQ(fingerprint(scene().scan(5000)), 381156471887520375U);
}

TEST(SampleScene, AnotherSeedGivesAnotherScene)
{
    const std::vector<SamplePoint> other = SampleScene(2).scan(kCount);

    EXPECT_FALSE(std::ranges::equal(other, points(), equal));
}

TEST(SampleScene, PointsLieInTheSquareOfLandAndAboveItsOrigin)
{
    for (const SamplePoint& point : points())
    {
        const Vector place = local(point);
        ASSERT_TRUE(place.x >= 0 && place.x <= SampleScene::kSize);
        ASSERT_TRUE(place.y >= 0 && place.y <= SampleScene::kSize);
        ASSERT_TRUE(place.z >= 0 && place.z <= SampleScene::kSize);
    }
}

TEST(SampleScene, PointsLieOnTheMillimetreGrid)
{
    for (const SamplePoint& point : points())
    {
        const double steps = (point.x - SampleScene::kOrigin.x) * 1000;
        ASSERT_NEAR(steps, std::round(steps), 1e-5);  // rounding of coordinates near 637000
    }
}

TEST(SampleScene, HoldsEverythingThatAVillageHas)
{
    std::set<int> found;
    for (const SamplePoint& point : points())
    {
        found.insert(point.classification);
    }

    // ground, low and high vegetation, buildings, water, road, wires, masts, lamps, fences, cars
    for (const int code : {2, 3, 5, 6, 9, 11, 14, 15, 64, 65, 66})
    {
        EXPECT_TRUE(found.contains(code)) << code;
    }
}

TEST(SampleScene, PointsNameTheScannerNearestToThem)
{
    for (const SamplePoint& point : points())
    {
        const auto distance = [&](const Vector& scanner) { return length(scanner - local(point)); };
        const auto nearest = std::ranges::min_element(scene().scanners(), {}, distance);
        ASSERT_EQ(point.scanIndex, static_cast<std::uint32_t>(nearest - scene().scanners().begin()));
    }
}

TEST(SampleScene, NormalsHaveLengthOne)
{
    for (const SamplePoint& point : points())
    {
        ASSERT_NEAR(std::hypot(point.nx, point.ny, point.nz), 1, 1e-5);
    }
}

TEST(SampleScene, ColorsUseSixteenBits)
{
    const auto isBright = [](const SamplePoint& point) { return point.g > 255; };

    EXPECT_GT(std::ranges::count_if(points(), isBright), static_cast<std::ptrdiff_t>(kCount * 9 / 10));
}

TEST(SampleScene, RoadsReturnLessOfTheBeamThanWalls)
{
    const auto mean = [](int code)
    {
        double sum = 0;
        double count = 0;
        for (const SamplePoint& point : points())
        {
            if (point.classification == code)
            {
                sum += point.intensity;
                ++count;
            }
        }
        return sum / count;
    };

    EXPECT_LT(mean(9), mean(11));
    EXPECT_LT(mean(11), 0.6 * mean(6));
}

TEST(SampleScene, RaysMeetTheSurfaceThatAPointWasMeasuredOn)
{
    std::size_t met = 0;
    for (const SamplePoint& point : points())
    {
        const Vector normal{point.nx, point.ny, point.nz};
        const Ray ray{local(point) + normal * 0.1, -normal};

        const std::optional<SceneHit> hit = scene().raycast(ray, 0.25);

        met += hit && std::abs(hit->distance - 0.1) < 0.1 ? 1U : 0U;
    }

    // the rest: leaves and grass before their surfaces, and points at the borders of thin things
    EXPECT_GT(met, kCount * 97 / 100);
}

TEST(SampleScene, ScannersStandFreeAboveTheGround)
{
    for (const Vector& scanner : scene().scanners())
    {
        const std::optional<SceneHit> below = scene().raycast({scanner, {0, 0, -1}}, 10);
        ASSERT_TRUE(below.has_value());
        EXPECT_NEAR(below->distance, 1.8, 1e-9);
        for (int i = 0; i < 32; ++i)
        {
            const Vector direction = Samples::heading(i * 0.19634954);
            EXPECT_FALSE(scene().raycast({scanner, direction}, 0.5).has_value());
        }
    }
}

TEST(SampleScene, GroundIsMetWhereItsHeightSays)
{
    const Samples::Terrain& terrain = scene().terrain();
    Samples::Random random(3);
    for (int i = 0; i < 300; ++i)
    {
        const double x = random.between(0, SampleScene::kSize);
        const double y = random.between(0, SampleScene::kSize);
        const Vector origin{80, 80, 120};
        const Vector place{x, y, terrain.height(x, y)};
        const double distance = length(place - origin);

        const auto hit = terrain.intersect({origin, normalized(place - origin)}, 1000);

        ASSERT_TRUE(hit.has_value());
        EXPECT_NEAR(hit->distance, distance, 1e-6);
    }
}

TEST(SampleScene, ColorOfAPlaceDoesNotChange)
{
    const std::optional<SceneHit> hit = scene().raycast({{60, 60, 60}, {0, 0, -1}}, 100);
    ASSERT_TRUE(hit.has_value());

    const Samples::Tint first = scene().color(hit->place);
    const Samples::Tint second = scene().color(hit->place);

    EXPECT_EQ(first.r, second.r);
    EXPECT_GT(first.r + first.g + first.b, 0);
    EXPECT_LE(std::max({first.r, first.g, first.b}), 1);
}

TEST(SampleScene, WiresHangAsCatenaries)
{
    // parameter 100 m, span 80 m: 100 (cosh 0.4 - 1) = 8.1072372
    EXPECT_NEAR(Samples::sag(80, 100, 0.5), 8.1072372, 1e-6);
    EXPECT_NEAR(Samples::sag(80, 100, 0.25), 8.1072372 - 2.0066756, 1e-6);
    EXPECT_EQ(Samples::sag(80, 100, 0), 0);
}

TEST(SampleScene, PortableSineIsTheSine)
{
    for (double angle = -20; angle < 20; angle += 0.01)
    {
        EXPECT_NEAR(Samples::portableSin(angle), std::sin(angle), 2e-7);
        EXPECT_NEAR(Samples::portableCos(angle), std::cos(angle), 2e-7);
    }
}

TEST(SampleDataset, TheSameSeedGivesTheSameFilesOnAnyNumberOfThreads)
{
    const TemporaryFolder one;
    const TemporaryFolder other;

    Samples::writeSampleDataset(one.path(), {.points = 20000, .seed = 7, .threadCount = 1});
    Samples::writeSampleDataset(other.path(), {.points = 20000, .seed = 7, .threadCount = 4});

    for (const char* name : {"octree.bin", "hierarchy.bin", "metadata.json"})
    {
        EXPECT_EQ(TemporaryFolder::read(one.path() / name), TemporaryFolder::read(other.path() / name))
            << name;
    }
}
}  // namespace
