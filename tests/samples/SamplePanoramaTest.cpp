#include "graphics/DeepZoomPanoramaLoader.h"
#include "samples/SamplePanorama.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <numeric>
#include <stdexcept>
#include <vector>

using Samples::SamplePanoramaOptions;
using Samples::SampleScene;

namespace
{
constexpr std::uint32_t kWidth = 64;

SamplePanoramaOptions smallPanorama()
{
    SamplePanoramaOptions options;
    options.width = kWidth;
    options.tileSize = 32;
    return options;
}
}  // namespace

TEST(SamplePanorama, ShowsTheSceneAtItsDistances)
{
    const SampleScene scene;
    const TemporaryFolder folder;

    writeSamplePanorama(folder.path(), scene, smallPanorama());

    Graphics::DeepZoomPanoramaLoader loader(folder.path());
    const Samples::Vector center = panoramaCenter(scene);
    EXPECT_NEAR(center.z, scene.terrain().height(center.x, center.y) + 9.0, 0.0005);
    EXPECT_EQ(loader.pose()(0, 3), SampleScene::kOrigin.x + center.x);
    EXPECT_EQ(loader.pose()(2, 3), SampleScene::kOrigin.z + center.z);
    ASSERT_EQ(loader.width(0), kWidth);
    int hitCount = 0;
    for (const auto& tile : loader.tileIndices(0))
    {
        const Graphics::DepthImage depth = loader.depthImageTile(tile);
        const Graphics::ColorImage color = loader.colorImageTile(tile);
        for (std::uint64_t i = 0; i < 32; ++i)
        {
            const double u = (static_cast<double>(loader.tileOffsetX(tile) + i) + 0.5) / kWidth;
            const double v = (static_cast<double>(loader.tileOffsetY(tile) + i) + 0.5) / (kWidth / 2);
            const double longitude = std::numbers::pi * (1.0 - 2.0 * u);
            const double latitude = std::numbers::pi * (0.5 - v);
            const Samples::Vector direction{
                std::cos(latitude) * std::cos(longitude),
                std::cos(latitude) * std::sin(longitude),
                std::sin(latitude)};
            const auto hit = scene.raycast({center, direction}, 2.0 * SampleScene::kSize);
            ASSERT_EQ(hit.has_value(), depth.pixel(i, i) < std::numeric_limits<float>::max());
            if (hit)
            {
                ++hitCount;
                EXPECT_NEAR(depth.pixel(i, i), hit->distance, 0.5 / 128.0 + 1e-4);  // half a step
                EXPECT_NEAR(color.pixel(i, i).g(), 255.0 * scene.color(hit->place).g, 0.51);
            }
        }
    }
    EXPECT_GT(hitCount, 20);
    EXPECT_LT(hitCount, 64);  // above is the sky
}

TEST(SamplePanorama, SkyIsBlueAboveAndHasNoDistance)
{
    const TemporaryFolder folder;
    writeSamplePanorama(folder.path(), SampleScene(), smallPanorama());

    Graphics::DeepZoomPanoramaLoader loader(folder.path());
    const auto tile = loader.tileIndices(0).front();
    const Math::Color zenith = loader.colorImageTile(tile).pixel(3, 0);
    EXPECT_GT(zenith.b(), zenith.r());
    EXPECT_EQ(loader.depthImageTile(tile).pixel(3, 0), std::numeric_limits<float>::max());
}

TEST(SamplePanorama, TellsOfEachRowAndTile)
{
    const TemporaryFolder folder;
    SamplePanoramaOptions options = smallPanorama();
    std::vector<std::uint64_t> rows;
    std::vector<std::uint64_t> tiles;
    const auto into = [](std::vector<std::uint64_t>& counts, std::uint64_t all)
    {
        return [&counts, all](std::uint64_t done, std::uint64_t told)
        {
            EXPECT_EQ(told, all);
            counts.push_back(done);
        };
    };
    constexpr std::uint64_t kRows = kWidth / 2;
    constexpr std::uint64_t kTiles =
        2 * (2 + 6);  // of colours and of depths: two, then one a level down to one pixel
    options.rowsDrawn = into(rows, kRows);
    options.tilesWritten = into(tiles, kTiles);

    writeSamplePanorama(folder.path(), SampleScene(), options);

    std::vector<std::uint64_t> expected(kRows);
    std::iota(expected.begin(), expected.end(), 1U);
    EXPECT_EQ(rows, expected);
    expected.resize(kTiles);
    EXPECT_EQ(tiles, expected);
}

TEST(SamplePanorama, RefusesWhatCannotBe)
{
    const SampleScene scene;
    const TemporaryFolder folder;
    SamplePanoramaOptions options = smallPanorama();
    options.stand = {161.0, 20.0, 2.0};
    EXPECT_THROW(writeSamplePanorama(folder.path(), scene, options), std::invalid_argument);
    options = smallPanorama();
    options.width = 63;
    EXPECT_THROW(writeSamplePanorama(folder.path(), scene, options), std::invalid_argument);
}
