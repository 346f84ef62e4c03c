// Pyramids that another program writes while the test runs; those of tests/data are always there.

#include "graphics/DeepZoomPanoramaLoader.h"
#include "graphics/DepthImage.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

using Graphics::DeepZoomPanoramaLoader;

namespace
{
constexpr std::uint32_t kWidth = 301;
constexpr std::uint32_t kHeight = 151;

Math::Color colorAt(std::uint64_t x, std::uint64_t y)
{
    return {
        static_cast<unsigned char>(x * 7 + y),
        static_cast<unsigned char>(y * 3),
        static_cast<unsigned char>(x),
        255};
}

std::uint16_t codeAt(std::uint64_t x, std::uint64_t y)
{
    return static_cast<std::uint16_t>(1 + x * 200 + y);
}

class VipsPyramid : public testing::TestWithParam<int>
{
public:
    void SetUp() override
    {
        if (std::system("vips --version > /dev/null 2>&1") != 0)
        {
            FAIL() << "the program vips is not installed; scripts/install-packages.sh installs it";
        }
        Graphics::ColorImage color(kWidth, kHeight);
        std::vector<std::uint16_t> codes;
        for (std::uint64_t y = 0; y < kHeight; ++y)
        {
            for (std::uint64_t x = 0; x < kWidth; ++x)
            {
                color.setPixel(x, y, colorAt(x, y));
                codes.push_back(codeAt(x, y));
            }
        }
        color.writePng(mFolder.path() / "color.png");
        Graphics::writeGray16Png(mFolder.path() / "depth.png", kWidth, kHeight, codes);
        mFolder.write(
            "panorama.json",
            R"({"version": 1, "projection": "equirectangular", "color": "color.dzi", "depth": "depth.dzi"})"
        );
    }

    void dzsave(const std::string& name, const std::string& options) const
    {
        const std::string base = (mFolder.path() / name).string();
        const std::string command = "vips dzsave '" + base + ".png' '" + base + "' --suffix .png " + options;
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }

    TemporaryFolder mFolder;
};
}  // namespace

TEST_P(VipsPyramid, IsReadPixelByPixel)
{
    const std::string overlap = " --tile-size 64 --overlap " + std::to_string(GetParam());
    dzsave("color", overlap);
    dzsave("depth", overlap + " --region-shrink nearest");

    DeepZoomPanoramaLoader loader(mFolder.path());

    const std::uint64_t finest = loader.numColorLevels() - 1;
    ASSERT_EQ(loader.width(finest), kWidth);
    ASSERT_EQ(loader.height(finest), kHeight);
    ASSERT_EQ(loader.numDepthLevels(), loader.numColorLevels());
    for (const auto& tile : loader.tileIndices(finest))
    {
        const Graphics::ColorImage color = loader.colorImageTile(tile);
        const Graphics::DepthImage depth = loader.depthImageTile(tile);
        for (std::uint64_t row = 0; row < 64; ++row)
        {
            for (std::uint64_t column = 0; column < 64; ++column)
            {
                const std::uint64_t x = loader.tileOffsetX(tile) + column;
                const std::uint64_t y = loader.tileOffsetY(tile) + row;
                ASSERT_EQ(color.pixel(column, row), colorAt(x, y)) << x << ", " << y;
                ASSERT_EQ(depth.pixel(column, row), static_cast<float>(codeAt(x, y)) / 512.0F)
                    << x << ", " << y;
            }
        }
    }
    EXPECT_EQ(loader.width(0), 151U);  // 301 and 151, of height 151 and 76; then 38 would not fill a tile
    for (const auto& tile : loader.tileIndices(0))
    {
        EXPECT_EQ(loader.colorImageTile(tile).width(), 64U);
        EXPECT_EQ(loader.depthImageTile(tile).height(), 64U);
    }
}

INSTANTIATE_TEST_SUITE_P(Overlaps, VipsPyramid, testing::Values(0, 1));
