// How pictures of the command line tool look, run as a program.
#include "graphics/ColorImage.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace
{
using Math::Color;
using testing::HasSubstr;

class CliLooks : public testing::Test
{
protected:
    TemporaryFolder folder;

    /// The picture that a verb draws.
    Graphics::ColorImage drawn(std::vector<std::string> arguments)
    {
        const std::string file = text(folder.path() / "picture.png");
        if (arguments.front() == "render")
        {
            arguments.insert(arguments.begin() + 1, file);
        }
        else
        {
            arguments.insert(arguments.end(), {"--output", file});
        }
        const TarnelRun run = runTarnel(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        return Graphics::ColorImage::readPng(folder.path() / "picture.png");
    }

    Graphics::ColorImage rendered(const std::string& name, const std::vector<std::string>& options)
    {
        std::vector<std::string> arguments{"render", "--cloud", dataSet(name), "--size", "160x120"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return drawn(arguments);
    }

    static std::vector<Color> pixels(const Graphics::ColorImage& image)
    {
        std::vector<Color> result;
        for (std::uint64_t y = 0; y < image.height(); ++y)
        {
            for (std::uint64_t x = 0; x < image.width(); ++x)
            {
                result.push_back(image.pixel(x, y));
            }
        }
        return result;
    }
};

constexpr const char* kColorless = "ept_lonestar_thin_binary";
constexpr const char* kColored = "autzen_brotli";
}  // namespace

TEST_F(CliLooks, CloudsWithoutColoursAreShadedByDepth)
{
    const std::vector<Color> byItself = pixels(rendered(kColorless, {}));

    EXPECT_EQ(byItself, pixels(rendered(kColorless, {"--edl"})));
    EXPECT_NE(byItself, pixels(rendered(kColorless, {"--no-edl"})));
}

TEST_F(CliLooks, CloudsWithColoursAreShadedOnRequest)
{
    const std::vector<Color> byItself = pixels(rendered(kColored, {}));

    EXPECT_EQ(byItself, pixels(rendered(kColored, {"--no-edl"})));
    EXPECT_NE(byItself, pixels(rendered(kColored, {"--edl"})));
}

TEST_F(CliLooks, StrengthAndRadiusOfShadingCanBeGiven)
{
    const std::vector<Color> one = pixels(rendered(kColored, {"--edl"}));

    EXPECT_EQ(one, pixels(rendered(kColored, {"--edl", "1", "--edl-radius", "1.4"})));
    EXPECT_NE(one, pixels(rendered(kColored, {"--edl", "0.2"})));
    EXPECT_NE(one, pixels(rendered(kColored, {"--edl", "--edl-radius", "3"})));
}

TEST_F(CliLooks, ThumbnailsAreShadedUnlessToldOtherwise)
{
    const std::vector<std::string> plain{"thumbnail", dataSet(kColored), "--width", "96", "--height", "72"};
    std::vector<std::string> without = plain;
    without.emplace_back("--no-edl");

    EXPECT_NE(pixels(drawn(plain)), pixels(drawn(without)));
}

TEST_F(CliLooks, BadShadingIsRefused)
{
    for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
             {"--edl", "-1"}, {"--edl", "much"}, {"--edl-radius", "101"}, {"--edl", "1", "--no-edl"}})
    {
        std::vector<std::string> arguments{"render", "x.png", "--cloud", dataSet(kColored)};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const TarnelRun run = runTarnel(arguments);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_THAT(run.errors, HasSubstr("--"));
    }
}

TEST_F(CliLooks, ABackgroundMayBeTransparent)
{
    const Graphics::ColorImage image = rendered(kColored, {"--background", "10,20,30,0"});

    EXPECT_EQ(image.pixel(0, 0), Color(10, 20, 30, 0));
    for (const Color& pixel : pixels(image))
    {
        EXPECT_TRUE(pixel == Color(10, 20, 30, 0) || pixel.a() == 255) << int{pixel.a()};
    }
    EXPECT_EQ(image.pixel(80, 60).a(), 255);
}

TEST_F(CliLooks, AThumbnailMayHaveATransparentBackgroundToo)
{
    const Graphics::ColorImage image =
        drawn({"thumbnail", dataSet(kColored), "--width", "96", "--height", "72", "--background", "#ff000080"}
        );

    EXPECT_EQ(image.pixel(0, 0), Color(255, 0, 0, 128));
    EXPECT_EQ(image.pixel(48, 36).a(), 255);
}

TEST_F(CliLooks, OpacityIsAFactorOfTheAlphaOfPointsAndBackground)
{
    const Graphics::ColorImage half = rendered(kColored, {"--opacity", "0.5"});
    EXPECT_EQ(half.pixel(0, 0), Color(255, 255, 255, 128));
    EXPECT_EQ(half.pixel(80, 60).a(), 128);

    const Graphics::ColorImage both = rendered(kColored, {"--opacity", "0.5", "--background", "#ffffff80"});
    EXPECT_EQ(both.pixel(0, 0), Color(255, 255, 255, 64));
    EXPECT_EQ(both.pixel(80, 60).a(), 128);

    const Graphics::ColorImage thumbnail =
        drawn({"thumbnail", dataSet(kColored), "--width", "96", "--height", "72", "--opacity", "0.5"});
    EXPECT_EQ(thumbnail.pixel(0, 0).a(), 128);
}

TEST_F(CliLooks, TomographicPicturesAreOpaqueAndShowSomethingByThemselves)
{
    const Graphics::ColorImage bright = rendered(kColored, {"--mode", "TomographicBright"});
    const Graphics::ColorImage dark = rendered(kColored, {"--mode", "TomographicDark"});

    EXPECT_EQ(bright.pixel(0, 0), Color(0, 0, 0, 255));
    EXPECT_EQ(dark.pixel(0, 0), Color(255, 255, 255, 255));
    int brightest = 0;
    for (const Color& pixel : pixels(bright))
    {
        EXPECT_EQ(pixel.a(), 255);
        brightest = std::max(brightest, int{pixel.r()});
    }
    EXPECT_GT(brightest, 30);
}

TEST_F(CliLooks, TomographicPicturesMayBeTransparent)
{
    const Graphics::ColorImage opaque = rendered(kColored, {"--mode", "TomographicBright"});
    const Graphics::ColorImage clear =
        rendered(kColored, {"--mode", "TomographicBright", "--background", "0,0,0,0"});

    const std::vector<Color> coverage = pixels(opaque);
    const std::vector<Color> transparent = pixels(clear);
    for (std::size_t i = 0; i < coverage.size(); ++i)
    {
        EXPECT_EQ(int{transparent[i].a()}, int{coverage[i].r()});
        EXPECT_EQ(int{transparent[i].r()}, transparent[i].a() > 0 ? 255 : 0);
    }
}
