#include "graphics/DeepZoomPanoramaLoader.h"
#include "samples/SamplePanorama.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>

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
