// Legends of pictures by the command line tool, run as a program.
#include "graphics/ColorImage.h"
#include "math/Spectrum.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace
{
using Math::Color;
using testing::HasSubstr;

const Color kWhite(255, 255, 255, 255);
const Color kBlack(0, 0, 0, 255);

// Pictures of 496 x 240: the margin begins in column 320 and its content in column 332.
class CliLegend : public testing::Test
{
protected:
    TemporaryFolder folder;

    Graphics::ColorImage drawn(const std::string& size, const std::vector<std::string>& options)
    {
        const std::string file = text(folder.path() / "picture.png");
        std::vector<std::string> arguments{
            "render", file, "--cloud", dataSet("autzen_brotli"), "--size", size};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const TarnelRun run = runTarnel(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        return Graphics::ColorImage::readPng(folder.path() / "picture.png");
    }

    Graphics::ColorImage explained(std::vector<std::string> options)
    {
        options.emplace_back("--legend");
        return drawn("496x240", options);
    }

    /// How many black pixels follow each other from where the scale bar begins.
    static int blackFrom(const Graphics::ColorImage& image, std::uint64_t row)
    {
        int length = 0;
        for (std::uint64_t x = 332; x < image.width() && image.pixel(x, row) == kBlack; ++x)
        {
            ++length;
        }
        return length;
    }
};
}  // namespace

TEST_F(CliLegend, StandsInAMarginOfAPictureOfTheSizeAskedFor)
{
    const Graphics::ColorImage image = explained({"--view", "top"});
    const Graphics::ColorImage alone = drawn("320x240", {"--view", "top"});

    ASSERT_EQ(image.width(), 496U);
    ASSERT_EQ(image.height(), 240U);
    for (std::uint64_t y = 0; y < 240; ++y)
    {
        for (std::uint64_t x = 0; x < 320; ++x)
        {
            ASSERT_EQ(image.pixel(x, y), alone.pixel(x, y)) << x << " " << y;
        }
    }
}

TEST_F(CliLegend, TheScaleBarOfAParallelViewHoldsEverywhere)
{
    // 2 units a pixel, so that 152 pixels have room for 200 units
    const Graphics::ColorImage image = explained({"--view", "top", "--ortho", "480"});

    EXPECT_EQ(blackFrom(image, 206), 100);
    EXPECT_EQ(blackFrom(explained({"--view", "top", "--ortho", "480", "--samples", "2"}), 206), 100);
}

TEST_F(CliLegend, TheScaleBarOfAPerspectiveViewIsThatOfTheTarget)
{
    // 2 * 1000 * tan(20 deg) / 240 is 3.033 units a pixel: 200 units are 65.9 of them; a line more says where
    const Graphics::ColorImage image = explained({"--view", "top", "--distance", "1000"});

    EXPECT_EQ(blackFrom(image, 186), 66);
}

TEST_F(CliLegend, TheArrowShowsTheNorth)
{
    const Graphics::ColorImage top = explained({"--view", "top", "--ortho", "480"});
    const Graphics::ColorImage east = explained({"--view", "east", "--ortho", "480"});
    const Graphics::ColorImage south = explained({"--view", "south", "--ortho", "480"});

    // a bar of 8, paddings of 12: the arrow's square ends above row 188 and its middle is in row 149
    EXPECT_EQ(top.pixel(370, 135), kBlack);
    EXPECT_EQ(top.pixel(384, 148), kWhite);
    EXPECT_EQ(east.pixel(370, 135), kWhite);
    EXPECT_EQ(east.pixel(384, 148), kBlack);
    EXPECT_EQ(south.pixel(370, 135), kWhite);
    EXPECT_EQ(south.pixel(384, 148), kWhite);
}

TEST_F(CliLegend, ClassesThatAreSeenAreListed)
{
    const Graphics::ColorImage all =
        explained({"--color-by", "class", "--class-color", "1=#102030", "--class-color", "2=#405060"});
    EXPECT_EQ(all.pixel(332, 35), Color(16, 32, 48, 255));
    EXPECT_EQ(all.pixel(332, 55), Color(64, 80, 96, 255));

    const Graphics::ColorImage ground =
        explained({"--color-by", "class", "--classes", "2", "--class-color", "2=#405060", "--edl"});
    EXPECT_EQ(ground.pixel(332, 35), Color(64, 80, 96, 255)) << "without the shades";
    EXPECT_EQ(ground.pixel(332, 55), kWhite) << "there is no other";
}

TEST_F(CliLegend, NamesOfClassesCanBeGiven)
{
    const std::vector<std::string> options{"--color-by", "class", "--classes", "2"};
    const Graphics::ColorImage usual = explained(options);
    std::vector<std::string> named = options;
    named.insert(named.end(), {"--class-name", "2=W"});

    // "2 ground" is wider than "2 W": 8 letters of about 8 pixels reach column 400, and 3 letters do not
    const auto inked = [](const Graphics::ColorImage& image)
    {
        int count = 0;
        for (std::uint64_t x = 400; x < 496; ++x)
        {
            for (std::uint64_t y = 32; y < 52; ++y)
            {
                count += image.pixel(x, y) != kWhite ? 1 : 0;
            }
        }
        return count;
    };
    EXPECT_GT(inked(usual), 0);
    EXPECT_EQ(inked(explained(named)), 0);
}

TEST_F(CliLegend, FindingOutWhatIsSeenLeavesThePictureAlone)
{
    const std::vector<std::string> options{
        "--color-by", "class", "--background", "#20406080", "--opacity", "0.5", "--edl", "--contrast", "1.5"};
    // the second picture of an orbit is drawn after the first one's legend, from the opposite side of 50
    // degrees
    std::vector<std::string> orbit = options;
    orbit.insert(orbit.end(), {"--legend", "--orbit", "--frames", "2"});
    const std::string file = text(folder.path() / "picture.png");
    orbit.insert(orbit.begin(), {"render", file, "--cloud", dataSet("autzen_brotli"), "--size", "496x240"});
    ASSERT_EQ(runTarnel(orbit).exitCode, 0);
    const Graphics::ColorImage second = Graphics::ColorImage::readPng(folder.path() / "picture-001.png");
    std::vector<std::string> opposite = options;
    opposite.insert(opposite.end(), {"--azimuth", "230"});
    const Graphics::ColorImage alone = drawn("320x240", opposite);
    std::size_t differences = 0;
    for (std::uint64_t y = 0; y < 240; ++y)
    {
        for (std::uint64_t x = 0; x < 320; ++x)
        {
            differences += alone.pixel(x, y) != second.pixel(x, y) ? 1 : 0;
        }
    }
    EXPECT_EQ(differences, 0U);
}

TEST_F(CliLegend, MapsOfIntensitiesAndHeightsAreShown)
{
    const Graphics::ColorImage intensity =
        explained({"--color-by", "intensity", "--color-map", "Viridis", "--intensity-range", "10,200"});
    EXPECT_EQ(intensity.pixel(332, 32), Math::Spectrum::Viridis::color(0.0F));
    EXPECT_EQ(intensity.pixel(408, 32), Math::Spectrum::Viridis::color(128.0F / 255.0F));

    const Graphics::ColorImage height = explained({"--color-by", "height", "--color-map", "Magma"});
    EXPECT_EQ(height.pixel(332, 32), Math::Spectrum::Magma::color(0.0F));
    EXPECT_EQ(height.pixel(483, 45), Math::Spectrum::Magma::color(254.0F / 255.0F));
}

TEST_F(CliLegend, CloudsAreNamedByTheLastPartOfTheirPath)
{
    // wherever the data set lies: a copy beside the picture, and the original with its long path
    const std::filesystem::path copy = folder.path() / "autzen_brotli";
    std::filesystem::copy(dataSet("autzen_brotli"), copy);
    const auto named = [&](const std::string& path)
    {
        const std::string file = text(folder.path() / "picture.png");
        const TarnelRun run = runTarnel(
            {"render",
             file,
             path,
             "--size",
             "496x240",
             "--legend",
             "--mode",
             "UniformColor",
             "--uniform-color",
             "#ff0000"}
        );
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        return Graphics::ColorImage::readPng(folder.path() / "picture.png");
    };
    const Graphics::ColorImage here = named(text(copy));
    const Graphics::ColorImage there = named(dataSet("autzen_brotli") + "/");

    EXPECT_EQ(here.pixel(332, 35), Color(255, 0, 0, 255));
    for (std::uint64_t y = 32; y < 52; ++y)
    {
        for (std::uint64_t x = 332; x < 484; ++x)
        {
            EXPECT_EQ(here.pixel(x, y), there.pixel(x, y));
        }
    }
}

TEST_F(CliLegend, ColoursAreAsBrightAsInThePicture)
{
    // 255 * (1.5 * (100 / 255 + 0.1 - 0.5) + 0.5)
    const Graphics::ColorImage image = explained(
        {"--color-by",
         "class",
         "--classes",
         "2",
         "--class-color",
         "2=100,100,100",
         "--brightness",
         "0.1",
         "--contrast",
         "1.5"}
    );
    EXPECT_NEAR(image.pixel(332, 35).r(), 124.5, 0.6);
    bool isThere = false;
    for (std::uint64_t y = 0; y < 240; ++y)
    {
        for (std::uint64_t x = 0; x < 320; ++x)
        {
            isThere = isThere || image.pixel(x, y) == image.pixel(332, 35);
        }
    }
    EXPECT_TRUE(isThere);
}

TEST_F(CliLegend, AThumbnailMayHaveOneToo)
{
    const std::string file = text(folder.path() / "picture.png");
    const TarnelRun run = runTarnel(
        {"thumbnail",
         dataSet("autzen_brotli"),
         "--output",
         file,
         "--size",
         "496x240",
         "--legend",
         "--color-by",
         "height"}
    );
    ASSERT_EQ(run.exitCode, 0) << run.errors;
    const Graphics::ColorImage image = Graphics::ColorImage::readPng(folder.path() / "picture.png");

    EXPECT_EQ(image.width(), 496U);
    EXPECT_EQ(image.pixel(332, 32), Math::Spectrum::Turbo::color(0.0F));
}

TEST_F(CliLegend, WhatItCannotDoIsRefused)
{
    const auto errorOf = [](std::vector<std::string> options)
    {
        options.insert(options.begin(), {"render", "x.png", "--cloud", dataSet("autzen_brotli")});
        const TarnelRun run = runTarnel(options);
        EXPECT_EQ(run.exitCode, 2);
        return run.errors;
    };
    EXPECT_THAT(
        errorOf({"--legend", "--size", "351x240"}),
        HasSubstr("a picture of 351x240 has no room for it, expected at least 352x240")
    );
    EXPECT_THAT(errorOf({"--legend", "--size", "640x239"}), HasSubstr("at least 352x240"));
    EXPECT_THAT(errorOf({"--legend", "--depth", "d.png"}), HasSubstr("a depth picture has no margin"));
    EXPECT_THAT(errorOf({"--unit", "m"}), HasSubstr("--legend"));
    EXPECT_THAT(errorOf({"--class-name", "2=W"}), HasSubstr("--legend"));
}
