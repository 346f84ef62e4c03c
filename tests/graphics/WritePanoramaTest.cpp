#include "graphics/DeepZoomPanoramaLoader.h"
#include "graphics/writePanorama.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

using Graphics::ColorImage;
using Graphics::DeepZoomPanoramaLoader;
using Graphics::Gray16Image;
using Graphics::PanoramaDescription;

using TileIndex = Graphics::PanoramaLoader::TileIndex;

namespace
{
constexpr float kFarthest = std::numeric_limits<float>::max();

ColorImage gradient(std::uint32_t width, std::uint32_t height)
{
    ColorImage image(width, height);
    for (std::uint32_t y = 0; y < height; ++y)
    {
        for (std::uint32_t x = 0; x < width; ++x)
        {
            image.setPixel(
                x,
                y,
                Math::Color(static_cast<unsigned char>(3 * x), static_cast<unsigned char>(5 * y), 9, 255)
            );
        }
    }
    return image;
}

Gray16Image ramp(std::uint32_t width, std::uint32_t height)
{
    Gray16Image image{width, height, {}};
    for (std::uint32_t y = 0; y < height; ++y)
    {
        for (std::uint32_t x = 0; x < width; ++x)
        {
            image.values.push_back(static_cast<std::uint16_t>(1000 + 100 * y + x));
        }
    }
    return image;
}

/// With codes as metres.
PanoramaDescription plainDescription()
{
    PanoramaDescription description;
    description.depthScale = 1.0;
    return description;
}

std::string refusal(const ColorImage& color, const Gray16Image& depth, std::uint32_t tileSize)
{
    const TemporaryFolder folder;
    return messageOf<std::invalid_argument>(
        [&] { writePanorama(folder.path() / "pano", color, depth, plainDescription(), tileSize); }
    );
}
}  // namespace

TEST(WritePanorama, WhatIsWrittenCanBeLoaded)
{
    const TemporaryFolder folder;
    PanoramaDescription description = plainDescription();
    description.color = "tiles/colour.dzi";
    description.pose(0, 3) = 4.5F;

    writePanorama(folder.path() / "pano", gradient(62, 31), ramp(62, 31), description, 10);

    DeepZoomPanoramaLoader loader(folder.path() / "pano");
    ASSERT_EQ(loader.numColorLevels(), 2U);
    ASSERT_EQ(loader.numDepthLevels(), 2U);
    EXPECT_EQ(loader.pose()(0, 3), 4.5F);
    for (const TileIndex& tile : loader.tileIndices(1))
    {
        const ColorImage color = loader.colorImageTile(tile);
        const Graphics::DepthImage depth = loader.depthImageTile(tile);
        for (std::uint64_t i = 0; i < 10; ++i)
        {
            const std::uint64_t x = loader.tileOffsetX(tile) + i;
            const std::uint64_t y = loader.tileOffsetY(tile) + i;
            EXPECT_EQ(color.pixel(i, i).r(), 3 * x);
            EXPECT_EQ(color.pixel(i, i).g(), 5 * y);
            EXPECT_EQ(depth.pixel(i, i), static_cast<float>(1000 + 100 * y + x));
        }
    }
}

TEST(WritePanorama, CoarserColorsAreMeansAndCoarserDepthsTheNearest)
{
    const TemporaryFolder folder;
    Gray16Image depth = ramp(8, 4);
    depth.values = {
        0, 700, 5, 6, 0,     65535, 9, 9,  //
        0, 600, 4, 7, 65535, 0,     9, 9,  //
        1, 1,   1, 1, 1,     1,     1, 1,  //
        1, 1,   1, 1, 1,     1,     1, 1,  //
    };

    writePanorama(folder.path(), gradient(8, 4), depth, plainDescription(), 2);

    DeepZoomPanoramaLoader loader(folder.path());
    ASSERT_EQ(loader.numColorLevels(), 2U);
    const ColorImage color = loader.colorImageTile({0, 1, 0});
    EXPECT_EQ(color.pixel(0, 0).r(), (12 + 15 + 12 + 15 + 2) / 4);
    EXPECT_EQ(color.pixel(0, 0).g(), (0 + 0 + 5 + 5 + 2) / 4);
    EXPECT_EQ(loader.depthImageTile({0, 0, 0}).pixel(0, 0), 600.0F);
    EXPECT_EQ(loader.depthImageTile({0, 0, 0}).pixel(1, 0), 4.0F);
    EXPECT_EQ(loader.depthImageTile({0, 1, 0}).pixel(0, 0), kFarthest);
    EXPECT_EQ(loader.depthImageTile({0, 1, 0}).pixel(1, 0), 9.0F);
}

TEST(WritePanorama, OddSizesAreRoundedUp)
{
    const TemporaryFolder folder;

    writePanorama(folder.path(), gradient(13, 7), ramp(13, 7), plainDescription(), 4);

    DeepZoomPanoramaLoader loader(folder.path());
    EXPECT_EQ(loader.width(0), 7U);
    EXPECT_EQ(loader.height(0), 4U);
    const Graphics::DepthImage depth = loader.depthImageTile({0, 1, 0});
    EXPECT_EQ(depth.pixel(3, 3), 1000.0F + 600.0F + 12.0F);  // the corner has only itself
}

TEST(WritePanorama, DepthOfACoarserLevelEndsThere)
{
    const TemporaryFolder folder;

    writePanorama(folder.path(), gradient(32, 16), ramp(16, 8), plainDescription(), 8);

    DeepZoomPanoramaLoader loader(folder.path());
    EXPECT_EQ(loader.numColorLevels(), 2U);
    EXPECT_EQ(loader.numDepthLevels(), 1U);
    EXPECT_EQ(loader.depthImageTile({0, 1, 0}).pixel(7, 7), 1000.0F + 700.0F + 15.0F);
}

TEST(WritePanorama, DepthOfAnotherSizeIsResampledWithoutMixing)
{
    const TemporaryFolder folder;

    writePanorama(folder.path(), gradient(12, 6), ramp(8, 4), plainDescription(), 6);

    DeepZoomPanoramaLoader loader(folder.path());
    EXPECT_EQ(loader.numDepthLevels(), loader.numColorLevels());
    const Graphics::DepthImage depth = loader.depthImageTile({loader.numDepthLevels() - 1, 0, 0});
    // pixel centres 0.5, 1.5, 2.5 of 12 lie at 1/3, 1, 5/3 of 8
    EXPECT_EQ(depth.pixel(0, 0), 1000.0F);
    EXPECT_EQ(depth.pixel(1, 0), 1001.0F);
    EXPECT_EQ(depth.pixel(2, 0), 1001.0F);
    EXPECT_EQ(depth.pixel(3, 0), 1002.0F);
    EXPECT_EQ(depth.pixel(0, 5), 1300.0F);
}

TEST(WritePanorama, LeavesNoDescriptionOfAFolderThatIsNotWhole)
{
    const TemporaryFolder folder;
    folder.write("depth.dzi_files", "");
    std::filesystem::create_directories(folder.path() / "depth.dzi" / "in the way");

    EXPECT_NE(
        messageOf<std::exception>(
            [&] { writePanorama(folder.path(), gradient(4, 2), ramp(4, 2), plainDescription(), 2); }
        ),
        "(nothing was thrown)"
    );

    EXPECT_FALSE(std::filesystem::exists(folder.path() / "panorama.json"));
}

TEST(WritePanorama, LeavesNoOlderDescriptionOverTilesOfTwoPictures)
{
    const TemporaryFolder folder;
    folder.write("panorama.json", "of an older panorama");
    std::filesystem::create_directories(folder.path() / "depth.dzi" / "in the way");

    EXPECT_NE(
        messageOf<std::exception>(
            [&] { writePanorama(folder.path(), gradient(4, 2), ramp(4, 2), plainDescription(), 2); }
        ),
        "(nothing was thrown)"
    );

    EXPECT_FALSE(std::filesystem::exists(folder.path() / "panorama.json"));
}

TEST(WritePanorama, PicturesThatAreNoPanoramasAreRefused)
{
    EXPECT_EQ(
        refusal(gradient(4, 2), ramp(4, 2), 0), "Error: the tile size is 0, 1 to 4096 pixels are possible"
    );
    EXPECT_EQ(
        refusal(ColorImage(), ramp(4, 2), 2),
        "Error: the colour picture has 0 x 0 pixels, 1 to 16384 on a side are possible"
    );
}
