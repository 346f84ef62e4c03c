#include "core/MemoryFolder.h"
#include "graphics/DeepZoomPanoramaLoader.h"
#include "tests/graphics/PlainPng.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/memoryCopy.h"
#include "tests/support/messageOf.h"
#include "tests/support/testData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <stdexcept>
#include <stop_token>
#include <string>

using Graphics::DeepZoomPanoramaLoader;
using testing::AllOf;
using testing::HasSubstr;

using TileIndex = Graphics::PanoramaLoader::TileIndex;

namespace
{
constexpr float kFarthest = std::numeric_limits<float>::max();

template <class Image>
std::string bytesOf(const Image& image)
{
    return {reinterpret_cast<const char*>(image.data()), static_cast<std::size_t>(image.sizeInBytes())};
}

/// A copy, to damage, of the pyramids in tests/data/deepzoom: pixel (x, y) of their 95 x 47 has the colour
/// (2 x, 4 y, 128) and the depth code 500 + 300 x + y. Tiles of 24 pixels with overlap.
class DeepZoomPanorama : public testing::Test
{
public:
    DeepZoomPanorama()
    {
        std::filesystem::copy(
            testData() / "deepzoom",
            folder(),
            std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing
        );
    }

    const std::filesystem::path& folder() const { return mFolder.path(); }

    void write(const std::string& file, std::string_view bytes) { mFolder.write(file, bytes); }

    std::string read(const std::string& file) const { return TemporaryFolder::read(folder() / file); }

    void writeJson(const std::string& color, const std::string& depth, const std::string& more = "")
    {
        write(
            "panorama.json",
            R"({"version": 1, "projection": "equirectangular", "color": ")" + color + R"(", "depth": ")" +
                depth + "\"" + more + "}"
        );
    }

    void writeDzi(
        const std::string& file, unsigned tileSize, unsigned width, unsigned height, const std::string& format
    )
    {
        write(
            file,
            "<Image TileSize='" + std::to_string(tileSize) + "' Overlap='1' Format='" + format +
                "'><Size Width='" + std::to_string(width) + "' Height='" + std::to_string(height) +
                "'/></Image>"
        );
    }

    /// The error of opening the folder.
    std::string openError() const
    {
        return messageOf<std::runtime_error>([&] { DeepZoomPanoramaLoader loader(folder()); });
    }

    /// The error of reading all tiles, one level after the other.
    std::string tileError() const
    {
        return messageOf<std::runtime_error>(
            [&]
            {
                DeepZoomPanoramaLoader loader(folder());
                for (std::uint64_t level = 0; level < loader.numColorLevels(); ++level)
                {
                    for (const TileIndex& tile : loader.tileIndices(level))
                    {
                        loader.colorImageTile(tile);
                        loader.depthImageTile(tile);
                    }
                }
            }
        );
    }

private:
    TemporaryFolder mFolder;
};
}  // namespace

TEST_F(DeepZoomPanorama, FilesInMemoryGiveTheSameTiles)
{
    DeepZoomPanoramaLoader local(folder());
    DeepZoomPanoramaLoader inMemory(memoryCopy(folder()));

    ASSERT_EQ(inMemory.numColorLevels(), local.numColorLevels());
    for (std::uint64_t level = 0; level < local.numColorLevels(); ++level)
    {
        for (const TileIndex& tile : local.tileIndices(level))
        {
            EXPECT_EQ(bytesOf(inMemory.colorImageTile(tile)), bytesOf(local.colorImageTile(tile)));
            EXPECT_EQ(bytesOf(inMemory.depthImageTile(tile)), bytesOf(local.depthImageTile(tile)));
        }
    }
}

TEST_F(DeepZoomPanorama, ErrorsOfFilesInMemoryNameThem)
{
    const auto files = std::make_shared<Core::MemoryFolder>("memory");
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { DeepZoomPanoramaLoader loader(files); }),
        HasSubstr("Error: cannot open memory/panorama.json")
    );
    for (const char* const file : {"panorama.json", "color.dzi", "depth.dzi"})
    {
        files->set(file, read(file));
    }

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { DeepZoomPanoramaLoader loader(files); }),
        HasSubstr("Error: cannot open the panorama memory: colour level 6 is missing, there is no folder "
                  "memory/color_files/6")
    );
}

TEST_F(DeepZoomPanorama, LevelsBeginWithTheCoarsestThatFillsATile)
{
    const DeepZoomPanoramaLoader loader(folder());

    EXPECT_EQ(loader.numColorLevels(), 2U);
    EXPECT_EQ(loader.numDepthLevels(), 2U);
    EXPECT_EQ(loader.width(0), 48U);
    EXPECT_EQ(loader.height(0), 24U);
    EXPECT_EQ(loader.width(1), 95U);
    EXPECT_EQ(loader.height(1), 47U);
    EXPECT_EQ(loader.tileWidth(1), 24U);
    EXPECT_EQ(loader.tileHeight(1), 24U);
    EXPECT_EQ(loader.pose(), Eigen::Matrix4d::Identity());
}

TEST_F(DeepZoomPanorama, TilesAreWholeAndEndAtTheBorder)
{
    const DeepZoomPanoramaLoader loader(folder());

    const std::vector<TileIndex> tiles = loader.tileIndices(1);

    ASSERT_EQ(tiles.size(), 8U);
    EXPECT_EQ(tiles[0], (TileIndex{1, 0, 0}));
    EXPECT_EQ(tiles[3], (TileIndex{1, 3, 0}));
    EXPECT_EQ(tiles[7], (TileIndex{1, 3, 1}));
    EXPECT_EQ(loader.tileOffsetX(tiles[2]), 48U);
    EXPECT_EQ(loader.tileOffsetX(tiles[3]), 95U - 24U);
    EXPECT_EQ(loader.tileOffsetY(tiles[3]), 0U);
    EXPECT_EQ(loader.tileOffsetY(tiles[7]), 47U - 24U);
}

TEST_F(DeepZoomPanorama, EveryPixelIsThatOfThePicture)
{
    DeepZoomPanoramaLoader loader(folder());
    for (const TileIndex& tile : loader.tileIndices(1))
    {
        const Graphics::ColorImage color = loader.colorImageTile(tile);
        const Graphics::DepthImage depth = loader.depthImageTile(tile);
        ASSERT_EQ(color.width(), 24U);
        ASSERT_EQ(color.height(), 24U);
        ASSERT_EQ(depth.width(), 24U);
        ASSERT_EQ(depth.height(), 24U);
        for (std::uint64_t row = 0; row < 24; ++row)
        {
            for (std::uint64_t column = 0; column < 24; ++column)
            {
                const std::uint64_t x = loader.tileOffsetX(tile) + column;
                const std::uint64_t y = loader.tileOffsetY(tile) + row;
                const Math::Color expected(
                    static_cast<unsigned char>(2 * x), static_cast<unsigned char>(4 * y), 128, 255
                );
                ASSERT_EQ(color.pixel(column, row), expected) << x << ", " << y;
                const std::uint64_t code = 500 + 300 * x + y;
                const float metres = static_cast<float>(code) / 512.0F;
                ASSERT_EQ(depth.pixel(column, row), code == 503 ? kFarthest : metres) << x << ", " << y;
            }
        }
    }
}

TEST_F(DeepZoomPanorama, CoarserLevelsComeFromTheirOwnTiles)
{
    DeepZoomPanoramaLoader loader(folder());

    const Graphics::ColorImage color = loader.colorImageTile({0, 1, 0});

    for (std::uint64_t x = 0; x < 23; ++x)
    {
        EXPECT_NEAR(color.pixel(x, 3).r(), 4.0 * static_cast<double>(24 + x) + 1.0, 1.0);  // the mean of two
        EXPECT_NEAR(color.pixel(x, 3).g(), 4.0 * 6.5, 1.0);
    }
}

TEST_F(DeepZoomPanorama, ColorsMayBeJpeg)
{
    writeJson("photo.dzi", "depth.dzi");
    DeepZoomPanoramaLoader loader(folder());
    for (const TileIndex& tile : loader.tileIndices(1))
    {
        const Graphics::ColorImage color = loader.colorImageTile(tile);
        for (std::uint64_t i = 0; i < 24; ++i)
        {
            const double x = static_cast<double>(loader.tileOffsetX(tile) + i);
            const double y = static_cast<double>(loader.tileOffsetY(tile) + i);
            const Math::Color pixel = color.pixel(i, i);
            EXPECT_NEAR(pixel.r(), 2.0 * x, 12.0) << x << ", " << y;  // what the compression loses
            EXPECT_NEAR(pixel.g(), 4.0 * y, 12.0);
            EXPECT_NEAR(pixel.b(), 128.0, 16.0);
            EXPECT_EQ(pixel.a(), 255);
        }
    }
}

TEST_F(DeepZoomPanorama, OnePyramidMayEndEarlier)
{
    writeDzi("depth.dzi", 24, 48, 24, "png");
    DeepZoomPanoramaLoader loader(folder());

    EXPECT_EQ(loader.numColorLevels(), 2U);
    EXPECT_EQ(loader.numDepthLevels(), 1U);
    EXPECT_EQ(loader.width(1), 95U);
    EXPECT_EQ(loader.depthImageTile({0, 1, 0}).width(), 24U);
    EXPECT_THROW(loader.depthImageTile({1, 0, 0}), std::out_of_range);
}

TEST_F(DeepZoomPanorama, DepthMayGoOnLonger)
{
    writeDzi("color.dzi", 24, 48, 24, "png");
    DeepZoomPanoramaLoader loader(folder());

    EXPECT_EQ(loader.numColorLevels(), 1U);
    EXPECT_EQ(loader.numDepthLevels(), 2U);
    EXPECT_EQ(loader.height(1), 47U);
    EXPECT_THROW(loader.colorImageTile({1, 0, 0}), std::out_of_range);
}

TEST_F(DeepZoomPanorama, ALevelSmallerThanATileIsOneTile)
{
    const std::string pixels(4 * 2 * 3, '\x40');
    const std::string codes(4 * 2 * 2, '\x10');
    std::filesystem::create_directories(folder() / "small_files/2");
    std::filesystem::create_directories(folder() / "smalldepth_files/2");
    write("small_files/2/0_0.png", PlainPng::file({4, 2, 8, 2}, pixels));
    write("smalldepth_files/2/0_0.png", PlainPng::file({4, 2, 16, 0}, codes));
    writeDzi("small.dzi", 256, 4, 2, "png");
    writeDzi("smalldepth.dzi", 256, 4, 2, "png");
    writeJson("small.dzi", "smalldepth.dzi", R"(, "depthScale": 2)");
    DeepZoomPanoramaLoader loader(folder());

    EXPECT_EQ(loader.numColorLevels(), 1U);
    EXPECT_EQ(loader.tileWidth(0), 4U);
    EXPECT_EQ(loader.tileHeight(0), 2U);
    EXPECT_EQ(loader.colorImageTile({0, 0, 0}).pixel(3, 1), Math::Color(64, 64, 64, 255));
    EXPECT_EQ(loader.depthImageTile({0, 0, 0}).pixel(3, 1), 2.0F * 0x1010);
}

TEST_F(DeepZoomPanorama, TilesThatDoNotExistAreOutOfRange)
{
    DeepZoomPanoramaLoader loader(folder());

    EXPECT_THROW(loader.colorImageTile({2, 0, 0}), std::out_of_range);
    EXPECT_THROW(loader.colorImageTile({1, 4, 0}), std::out_of_range);
    EXPECT_THROW(loader.depthImageTile({1, 0, 2}), std::out_of_range);
    EXPECT_THROW(loader.width(2), std::out_of_range);
    EXPECT_THROW(loader.tileIndices(std::numeric_limits<std::uint64_t>::max()), std::out_of_range);
}

TEST_F(DeepZoomPanorama, AStopRequestEndsAFetchWithinATile)
{
    const auto damage = [this](const std::string& file)
    {
        std::string bytes = read(file);
        bytes.at(bytes.size() - 13) ^=
            1;  // of the check sum of the pixels, which stands before the last 12 bytes
        write(file, bytes);
    };
    damage("color_files/7/0_0.png");
    damage("depth_files/7/0_0.png");
    DeepZoomPanoramaLoader loader(folder());
    std::stop_source stop;
    EXPECT_THROW(loader.fetchColorTile({1, 0, 0}, stop.get_token()), std::runtime_error);
    EXPECT_THROW(loader.fetchDepthTile({1, 0, 0}, stop.get_token()), std::runtime_error);

    stop.request_stop();

    // The damage further on is not reached.
    EXPECT_FALSE(loader.fetchColorTile({1, 0, 0}, stop.get_token()).has_value());
    EXPECT_FALSE(loader.fetchDepthTile({1, 0, 0}, stop.get_token()).has_value());
}

TEST_F(DeepZoomPanorama, AStopRequestEndsAFetchWithinATileOfJpeg)
{
    writeJson("photo.dzi", "depth.dzi");
    const std::string file = "photo_files/7/0_0.jpeg";
    write(file, read(file).substr(0, read(file).size() - 20));
    DeepZoomPanoramaLoader loader(folder());
    std::stop_source stop;
    EXPECT_THROW(loader.fetchColorTile({1, 0, 0}, stop.get_token()), std::runtime_error);

    stop.request_stop();

    EXPECT_FALSE(loader.fetchColorTile({1, 0, 0}, stop.get_token()).has_value());
}

TEST_F(DeepZoomPanorama, LevelsOfDifferentSizeAreRefusedWithBoth)
{
    writeDzi("depth.dzi", 24, 96, 48, "png");

    EXPECT_THAT(openError(), HasSubstr("level 7 has 95 x 47 pixels of colour but 96 x 48 pixels of depth"));
}

TEST_F(DeepZoomPanorama, LevelsThatNoTextureCanHoldAreNamed)
{
    writeDzi("color.dzi", 24, 20000, 10000, "png");
    std::filesystem::create_directories(folder() / "color_files/8");

    EXPECT_THAT(openError(), HasSubstr("colour level "));

    writeDzi("color.dzi", 4000, 20000, 10000, "png");
    writeDzi("depth.dzi", 4000, 20000, 10000, "png");
    EXPECT_THAT(
        openError(), HasSubstr("colour level 15 has 20000 x 10000 pixels, more than 16384 on a side")
    );
    writeDzi("color.dzi", 4000, 4294967295U, 4294967295U, "png");
    EXPECT_THAT(openError(), HasSubstr("more than 16384 on a side"));
}

TEST_F(DeepZoomPanorama, TooManyTilesAreRefused)
{
    writeDzi("color.dzi", 1, 16384, 8192, "png");
    writeDzi("depth.dzi", 1, 1, 1, "png");
    for (int level = 0; level <= 14; ++level)
    {
        std::filesystem::create_directories(folder() / ("color_files/" + std::to_string(level)));
    }

    EXPECT_THAT(
        openError(), AllOf(HasSubstr("colour level 11 has 2097152 tiles"), HasSubstr("more than 1048576"))
    );
}

TEST_F(DeepZoomPanorama, ATileSizeOfZeroIsRefused)
{
    writeDzi("color.dzi", 0, 95, 47, "png");

    EXPECT_THAT(openError(), AllOf(HasSubstr("color.dzi"), HasSubstr("attribute TileSize must not be 0")));
}

TEST_F(DeepZoomPanorama, MissingLevelsAndTilesAreNamed)
{
    std::filesystem::remove(folder() / "depth_files/7/2_1.png");
    EXPECT_THAT(tileError(), HasSubstr("2_1.png"));

    std::filesystem::remove_all(folder() / "color_files/6");
    EXPECT_THAT(openError(), AllOf(HasSubstr("colour level 6 is missing"), HasSubstr("color_files")));
}

TEST_F(DeepZoomPanorama, MissingDescriptionsAreNamed)
{
    std::filesystem::remove(folder() / "depth.dzi");
    EXPECT_THAT(openError(), HasSubstr("depth.dzi"));

    std::filesystem::remove(folder() / "panorama.json");
    EXPECT_THAT(openError(), HasSubstr("panorama.json"));
}

TEST_F(DeepZoomPanorama, PathsThatLeaveTheFolderAreRefused)
{
    writeJson("../color.dzi", "depth.dzi");

    EXPECT_THAT(openError(), AllOf(HasSubstr("panorama.json"), HasSubstr("inside the folder")));
}

TEST_F(DeepZoomPanorama, TilesOfAnotherSizeAreErrors)
{
    write("color_files/7/1_0.png", PlainPng::file({2, 2, 8, 2}, std::string(12, 'x')));
    EXPECT_THAT(
        tileError(), AllOf(HasSubstr("1_0.png"), HasSubstr("it has 2 x 2 pixels, the tile 26 x 25 pixels"))
    );

    writeJson("photo.dzi", "depth.dzi");
    write("photo_files/7/0_0.jpeg", read("photo_files/7/1_0.jpeg"));
    EXPECT_THAT(
        tileError(), AllOf(HasSubstr("0_0.jpeg"), HasSubstr("it has 28 x 26 pixels, the tile 26 x 26 pixels"))
    );
}

TEST_F(DeepZoomPanorama, DepthOfEightBitsOrInColorIsRefused)
{
    write("depth_files/7/0_0.png", PlainPng::file({25, 25, 8, 0}, std::string(25 * 25, 'x')));
    EXPECT_THAT(
        tileError(), AllOf(HasSubstr("0_0.png"), HasSubstr("16-bit grey pixels without alpha expected"))
    );

    write("depth_files/7/0_0.png", PlainPng::file({25, 25, 16, 2}, std::string(25 * 25 * 6, 'x')));
    EXPECT_THAT(tileError(), HasSubstr("16-bit grey pixels without alpha expected"));

    writeJson("color.dzi", "photo.dzi");
    EXPECT_THAT(openError(), HasSubstr("its depth tiles are jpeg files, only png is supported"));
}

TEST_F(DeepZoomPanorama, TruncatedTilesAreErrors)
{
    for (const std::string file : {"color_files/6/1_0.png", "depth_files/6/1_0.png"})
    {
        const std::string whole = read(file);
        constexpr std::size_t kEndMark = 12;  // bytes that say nothing but that the file ends
        for (std::size_t size = 0; size + kEndMark < whole.size(); size += 7)
        {
            write(file, std::string_view(whole).substr(0, size));
            EXPECT_THAT(tileError(), HasSubstr("1_0.png")) << file << " " << size;
        }
        write(file, whole);
    }
    writeJson("photo.dzi", "depth.dzi");
    const std::string whole = read("photo_files/6/1_0.jpeg");
    for (std::size_t size = 0; size < whole.size(); size += 7)
    {
        write("photo_files/6/1_0.jpeg", std::string_view(whole).substr(0, size));
        EXPECT_THAT(tileError(), AllOf(HasSubstr("1_0.jpeg"), HasSubstr("as JPEG"))) << size;
    }
}

TEST_F(DeepZoomPanorama, DamagedJpegTilesNeverDoHarm)
{
    writeJson("photo.dzi", "depth.dzi");
    const std::string whole = read("photo_files/6/1_0.jpeg");
    int refusedCount = 0;
    for (std::size_t position = 0; position < whole.size(); ++position)
    {
        std::string damaged = whole;
        damaged[position] = static_cast<char>(~static_cast<unsigned char>(damaged[position]));
        write("photo_files/6/1_0.jpeg", damaged);
        const std::string error = messageOf<std::runtime_error>(
            [&] {
                DeepZoomPanoramaLoader(folder()).colorImageTile({0, 1, 0});
            }
        );
        const bool isRefused = error != "(nothing was thrown)";
        EXPECT_TRUE(!isRefused || error.find("1_0.jpeg") != std::string::npos) << position << ": " << error;
        refusedCount += isRefused ? 1 : 0;
    }
    EXPECT_GT(refusedCount, 20);
}

TEST_F(DeepZoomPanorama, FilesOfAnotherKindAreErrors)
{
    write("color_files/6/0_0.png", read("photo_files/6/0_0.jpeg"));
    EXPECT_THAT(tileError(), AllOf(HasSubstr("0_0.png"), HasSubstr("as PNG")));

    writeJson("photo.dzi", "depth.dzi");
    write("photo_files/6/0_0.jpeg", read("color_files/7/0_0.png"));
    EXPECT_THAT(tileError(), AllOf(HasSubstr("0_0.jpeg"), HasSubstr("as JPEG")));
}

TEST_F(DeepZoomPanorama, ThePoseIsThatOfTheDescription)
{
    writeJson("color.dzi", "depth.dzi", R"(, "pose": [0,-1,0,5, 1,0,0,6, 0,0,1,7, 0,0,0,1])");

    const Eigen::Vector4d moved =
        DeepZoomPanoramaLoader(folder()).pose() * Eigen::Vector4d(1.0, 0.0, 0.0, 1.0);

    EXPECT_EQ(moved, Eigen::Vector4d(5.0, 7.0, 7.0, 1.0));
}
