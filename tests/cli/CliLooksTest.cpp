// How pictures of the command line tool look, run as a program.
#include "graphics/ColorImage.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <set>
#include <sstream>
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
    EXPECT_NEAR(half.pixel(0, 0).a(), 127.5, 0.5);  // drivers round either way
    EXPECT_EQ(half.pixel(0, 0).r(), 255);
    EXPECT_NEAR(half.pixel(80, 60).a(), 127.5, 0.5);

    const Graphics::ColorImage both = rendered(kColored, {"--opacity", "0.5", "--background", "#ffffff80"});
    EXPECT_EQ(both.pixel(0, 0), Color(255, 255, 255, 64));
    EXPECT_NEAR(both.pixel(80, 60).a(), 127.5, 0.5);

    const Graphics::ColorImage thumbnail =
        drawn({"thumbnail", dataSet(kColored), "--width", "96", "--height", "72", "--opacity", "0.5"});
    EXPECT_NEAR(thumbnail.pixel(0, 0).a(), 127.5, 0.5);
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

TEST_F(CliLooks, APictureWithoutPointsSaysWhy)
{
    const auto noteOf = [this](std::vector<std::string> options)
    {
        std::vector<std::string> arguments{
            "render", text(folder.path() / "empty.png"), "--cloud", dataSet(kColored), "--size", "64x48"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const TarnelRun run = runTarnel(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        return run.errors;
    };
    const std::string begin = "tarnel: note: the picture shows no point: ";

    EXPECT_THAT(
        noteOf({"--eye", "636000,848900,900", "--target", "635000,848900,900"}),
        HasSubstr(begin + "all of the scene lies behind the camera\n")
    );
    EXPECT_THAT(
        noteOf({"--clip", "0,0,-1,0"}), HasSubstr(begin + "all of the scene is clipped away by --clip\n")
    );
    EXPECT_THAT(
        noteOf({"--eye", "635000,848000,900", "--target", "635100,850000,900", "--fov", "10"}),
        HasSubstr(begin + "all of the scene lies beside the picture\n")
    );
    EXPECT_THAT(noteOf({"--budget", "1"}), HasSubstr(begin + "no point is resident: "));
    EXPECT_THAT(
        noteOf({"--classes", "40"}),
        HasSubstr(begin + "the classes, intensities and scans to show have no point there\n")
    );
    EXPECT_THAT(noteOf({}), testing::Not(HasSubstr("no point")));
}

TEST_F(CliLooks, ClassesAreShownAndHiddenWhileDrawing)
{
    const std::vector<Color> ground = pixels(rendered(kColored, {"--classes", "2"}));
    const std::vector<Color> all = pixels(rendered(kColored, {}));

    EXPECT_EQ(ground, pixels(rendered(kColored, {"--hide-classes", "1"})));
    EXPECT_EQ(all, pixels(rendered(kColored, {"--classes", "1,2"})));
    EXPECT_NE(ground, all);
    EXPECT_NE(ground, pixels(rendered(kColored, {"--classes", "1"})));
}

TEST_F(CliLooks, ClassesHaveTheirColours)
{
    const std::vector<std::string> byClass{
        "--color-by", "class", "--class-color", "2=#010203", "--class-color", "1=9,8,7"};
    std::size_t ground = 0;
    std::size_t other = 0;
    for (const Color& pixel : pixels(rendered(kColored, byClass)))
    {
        ground += pixel == Color(1, 2, 3, 255);
        other += pixel == Color(9, 8, 7, 255);
        EXPECT_TRUE(
            pixel == Color(1, 2, 3, 255) || pixel == Color(9, 8, 7, 255) || pixel == Color(255, 255, 255, 255)
        );
    }
    EXPECT_GT(ground, 100U);
    EXPECT_GT(other, 100U);
}

TEST_F(CliLooks, IntensitiesAreSpreadOverTheUsualOnes)
{
    int brightest = 0;
    for (const Color& pixel :
         pixels(rendered(kColored, {"--mode", "ColorizeByIntensity", "--background", "#000000"})))
    {
        brightest = std::max(brightest, int{pixel.r()});
    }
    EXPECT_EQ(brightest, 255) << "of 16 bits the data set uses the lower 8";
}

TEST_F(CliLooks, IntensitiesHaveTheColoursOfAMapOverAGivenRange)
{
    // everything lies above the range, where Viridis ends
    const std::vector<Color> shown = pixels(rendered(
        "ept_color12_laszip",
        {"--color-by", "intensity", "--color-map", "Viridis", "--intensity-range", "0,1"}
    ));
    std::size_t yellow = 0;
    for (const Color& pixel : shown)
    {
        yellow += pixel.r() > 240 && pixel.g() > 220 && pixel.b() < 50;
    }
    EXPECT_GT(yellow, 100U);
}

TEST_F(CliLooks, ShownIntensitiesAreExactlyThoseOfTheRange)
{
    // 1065 points far apart, seen from above with a pixel of 2.9 units
    const std::string file = text(folder.path() / "points.txt");
    const std::vector<std::string> view{
        "--eye",
        "637301,851218,5000",
        "--target",
        "637301,851218,0",
        "--up",
        "0,1,0",
        "--ortho",
        "4700",
        "--size",
        "1600x1600",
        "--max-point-size",
        "2",
        "--absolute"};
    std::vector<std::string> arguments{
        "export-visible", file, "--cloud", dataSet("ept_color12_laszip"), "--intensity", "20,60"};
    arguments.insert(arguments.end(), view.begin(), view.end());
    const TarnelRun run = runTarnel(arguments);
    ASSERT_EQ(run.exitCode, 0) << run.errors;

    struct Dumped
    {
        double x;
        double y;
        int intensity;
    };

    std::vector<Dumped> all;
    std::istringstream dump(runTarnel({"dump", dataSet("ept_color12_laszip"), "--all"}).output);
    for (std::string line; std::getline(dump, line);)
    {
        std::istringstream fields(line);
        std::string node;
        double z = 0;
        int color = 0;
        Dumped point{};
        fields >> node >> point.x >> point.y >> z >> color >> color >> color >> color >> point.intensity;
        all.push_back(point);
    }
    std::set<std::size_t> seen;
    std::istringstream exported(TemporaryFolder::read(folder.path() / "points.txt"));
    std::string line;
    std::getline(exported, line);
    while (std::getline(exported, line))
    {
        double x = 0;
        double y = 0;
        std::istringstream(line) >> x >> y;
        const auto nearest = std::ranges::min_element(
            all, {}, [&](const Dumped& point) { return std::hypot(point.x - x, point.y - y); }
        );
        EXPECT_GE(nearest->intensity, 20);
        EXPECT_LE(nearest->intensity, 60);
        seen.insert(static_cast<std::size_t>(nearest - all.begin()));
    }
    const auto wanted = std::ranges::count_if(
        all, [](const Dumped& point) { return point.intensity >= 20 && point.intensity <= 60; }
    );
    ASSERT_GT(wanted, 50);
    EXPECT_GE(static_cast<double>(seen.size()), 0.99 * static_cast<double>(wanted)) << "some share a pixel";
}

TEST_F(CliLooks, BadLooksAreNamed)
{
    const auto errorOf = [](const std::vector<std::string>& options)
    {
        std::vector<std::string> arguments{"render", "x.png", "--cloud", dataSet(kColored)};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const TarnelRun run = runTarnel(arguments);
        EXPECT_EQ(run.exitCode, 2) << run.errors;
        return run.errors;
    };
    EXPECT_THAT(
        errorOf({"--classes", "2,256"}), HasSubstr("--classes: '2,256' is not 2 whole numbers from 0 to 255")
    );
    EXPECT_THAT(errorOf({"--hide-classes", "x"}), HasSubstr("--hide-classes"));
    EXPECT_THAT(
        errorOf({"--intensity", "9,3"}),
        HasSubstr("--intensity: '9,3' has its lower limit above its upper one")
    );
    EXPECT_THAT(
        errorOf({"--intensity-range", "3,3", "--color-by", "intensity"}), HasSubstr("'3,3' is no range")
    );
    EXPECT_THAT(errorOf({"--scans", "70000"}), HasSubstr("from 0 to 65535"));
    EXPECT_THAT(
        errorOf({"--color-by", "class", "--class-color", "300=#ffffff"}),
        HasSubstr("'300=#ffffff' is not CLASS=VALUE with a class from 0 to 255")
    );
    EXPECT_THAT(errorOf({"--samples", "3"}), HasSubstr("--samples"));
    EXPECT_THAT(
        errorOf({"--samples", "2", "--depth", "d.png"}), HasSubstr("a depth picture has one sample a pixel")
    );
    EXPECT_THAT(errorOf({"--max-point-share", "2"}), HasSubstr("--max-point-share"));
    EXPECT_THAT(errorOf({"--color-by", "taste"}), HasSubstr("--color-by"));
    EXPECT_THAT(
        errorOf({"--color-by", "class", "--mode", "Default"}), HasSubstr("--mode excludes --color-by")
    );
    EXPECT_THAT(errorOf({"--classes", "1", "--hide-classes", "2"}), HasSubstr("excludes"));
}

TEST_F(CliLooks, SamplesSmoothThePictureAndKeepItsSize)
{
    const Graphics::ColorImage plain = rendered(
        kColored, {"--color-by", "class", "--class-color", "2=#000000", "--class-color", "1=#000000"}
    );
    const Graphics::ColorImage smooth = rendered(
        kColored,
        {"--color-by", "class", "--class-color", "2=#000000", "--class-color", "1=#000000", "--samples", "2"}
    );

    EXPECT_EQ(smooth.width(), plain.width());
    EXPECT_EQ(smooth.height(), plain.height());
    // black points on white: of four samples 0 to 4 are white, and 1, 2 and 3 quarters of the light are these
    std::size_t between = 0;
    for (const Color& pixel : pixels(smooth))
    {
        const int code = pixel.r();
        EXPECT_TRUE(code == 0 || code == 137 || code == 188 || code == 225 || code == 255) << code;
        between += code != 0 && code != 255;
    }
    EXPECT_GT(between, 100U);
    for (const Color& pixel : pixels(plain))
    {
        EXPECT_TRUE(pixel.r() == 0 || pixel.r() == 255);
    }
}

TEST_F(CliLooks, TheLargestPointIsAShareOfThePictureOrAsManyPixels)
{
    const auto covered = [this](const std::string& size, const std::vector<std::string>& options)
    {
        // each point by itself: seen from above, a pixel is 4700 units by the height
        std::vector<std::string> arguments{
            "render",
            "--cloud",
            dataSet("ept_color12_laszip"),
            "--size",
            size,
            "--view",
            "top",
            "--ortho",
            "4700",
            "--background",
            "0,0,0,0"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        std::size_t count = 0;
        for (const Color& pixel : pixels(drawn(arguments)))
        {
            count += pixel.a() != 0;
        }
        return static_cast<double>(count);
    };
    EXPECT_EQ(covered("200x1440", {}), covered("200x1440", {"--max-point-size", "10"}));
    EXPECT_GT(covered("360x360", {}), 100.0);
    EXPECT_EQ(covered("360x360", {}), covered("360x360", {"--max-point-size", "5"}));
    EXPECT_EQ(
        covered("200x800", {"--max-point-share", "0.005"}), covered("200x800", {"--max-point-size", "4"})
    );
}

TEST_F(CliLooks, NodesAreChosenByThePixelsThatAreWritten)
{
    // in 160 x 120 pixels the root's sphere is larger than 100 pixels, and none of its children's is
    const std::vector<Color> coarse = pixels(rendered(kColored, {"--samples", "2", "--max-level", "0"}));

    EXPECT_EQ(pixels(rendered(kColored, {"--samples", "2", "--threshold", "100"})), coarse);
    EXPECT_NE(pixels(rendered(kColored, {"--samples", "2"})), coarse);
}

TEST_F(CliLooks, ASampleSeenFromAboveHasNoHolesInPicturesOfTwoThousandRows)
{
    const std::string sample = text(folder.path() / "sample");
    ASSERT_EQ(runTarnel({"sample", sample, "--points", "400000", "--cloud-only"}).exitCode, 0);
    // a strip of a picture of 3840 columns, within the scene's border: it is 160 units wide
    const auto holes = [&](const std::vector<std::string>& options)
    {
        std::vector<std::string> arguments{
            "render",
            "--cloud",
            sample,
            "--size",
            "128x2160",
            "--background",
            "0,0,0,0",
            "--view",
            "top",
            "--ortho",
            "150"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        std::size_t count = 0;
        for (const Color& pixel : pixels(drawn(arguments)))
        {
            count += pixel.a() == 0;
        }
        return static_cast<double>(count) / (128.0 * 2160.0);
    };
    EXPECT_LT(holes({}), 0.001);
    EXPECT_GT(holes({"--max-point-size", "5"}), 0.1) << "the points' size makes the difference";
}

TEST_F(CliLooks, DataSetsAreNamedWithoutAnOptionAsWell)
{
    const auto shown = [this](const std::vector<std::string>& scene)
    {
        std::vector<std::string> arguments{"render", "--size", "64x48"};
        arguments.insert(arguments.end(), scene.begin(), scene.end());
        return pixels(drawn(arguments));
    };
    const std::string one = dataSet(kColored);
    const std::string other = dataSet("ept_color12_laszip");
    const std::vector<Color> both = shown({"--cloud", one, "--cloud", other});

    EXPECT_EQ(shown({one, other}), both);
    EXPECT_EQ(shown({one, "--cloud", other}), both);
    const std::string place = "100,0,0,90,1";
    EXPECT_EQ(
        shown({one, "--transform", place, other, "--view", "top"}),
        shown({"--cloud", one, "--transform", place, "--cloud", other, "--view", "top"})
    );
}
