// What single options change in a picture, by the command line tool as a program.
#include "graphics/ColorImage.h"
#include "math/Spectrum.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace
{
using Math::Color;
using testing::HasSubstr;

const Color kWhite(255, 255, 255, 255);

class CliLookOptions : public testing::Test
{
protected:
    TemporaryFolder folder;

    std::vector<Color> drawn(const std::string& cloud, const std::vector<std::string>& options)
    {
        std::vector<std::string> arguments{
            "render", text(folder.path() / "picture.png"), cloud, "--size", "96x72", "--no-edl"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const TarnelRun run = runTarnel(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        const auto image = Graphics::ColorImage::readPng(folder.path() / "picture.png");
        std::vector<Color> pixels;
        for (std::uint64_t y = 0; y < image.height(); ++y)
        {
            for (std::uint64_t x = 0; x < image.width(); ++x)
            {
                pixels.push_back(image.pixel(x, y));
            }
        }
        return pixels;
    }

    std::vector<Color> drawn(const std::vector<std::string>& options)
    {
        return drawn(dataSet("autzen_brotli"), options);
    }

    /// The colours that a picture has beside its background.
    static std::set<unsigned int> colorsOf(const std::vector<Color>& pixels)
    {
        std::set<unsigned int> colors;
        for (const Color& pixel : pixels)
        {
            if (pixel != kWhite)
            {
                colors.insert(pixel.packed());
            }
        }
        return colors;
    }

    static std::ptrdiff_t covered(const std::vector<Color>& pixels)
    {
        return std::ranges::count_if(pixels, [](const Color& pixel) { return pixel != kWhite; });
    }
};
}  // namespace

TEST_F(CliLookOptions, OneColourForAllCanBeGiven)
{
    // as bright as each point is
    const std::vector<Color> pixels = drawn({"--mode", "UniformColor", "--uniform-color", "#ff8000"});

    int brightest = 0;
    for (const Color& pixel : pixels)
    {
        if (pixel != kWhite)
        {
            EXPECT_NEAR(pixel.g(), pixel.r() * 128.0 / 255.0, 1.0);
            EXPECT_EQ(pixel.b(), 0);
            brightest = std::max(brightest, int{pixel.r()});
        }
    }
    EXPECT_GT(brightest, 100);
}

TEST_F(CliLookOptions, TheColourMapBeginsAndEndsWhereToldTo)
{
    const std::vector<std::string> map{"--mode", "ColorizeByPlaneDistance", "--color-map", "Viridis"};
    std::vector<std::string> above = map;
    above.insert(above.end(), {"--colorize-from", "0,0,10000", "--colorize-to", "0,0,20000"});
    std::vector<std::string> below = map;
    below.insert(below.end(), {"--colorize-from", "0,0,-20000", "--colorize-to", "0,0,-10000"});

    EXPECT_THAT(colorsOf(drawn(above)), testing::ElementsAre(Math::Spectrum::Viridis::color(0.0F).packed()));
    EXPECT_THAT(colorsOf(drawn(below)), testing::ElementsAre(Math::Spectrum::Viridis::color(1.0F).packed()));
    EXPECT_GT(colorsOf(drawn(map)).size(), 50U);
}

TEST_F(CliLookOptions, ScansAreShownAndHidden)
{
    const std::string sample = text(folder.path() / "sample");
    ASSERT_EQ(runTarnel({"sample", sample, "--points", "20000", "--cloud-only"}).exitCode, 0);

    const std::set<unsigned int> all = colorsOf(drawn(sample, {"--color-by", "scan"}));
    const std::vector<Color> only = drawn(sample, {"--color-by", "scan", "--scans", "3"});
    const std::set<unsigned int> without =
        colorsOf(drawn(sample, {"--color-by", "scan", "--hide-scans", "3"}));

    EXPECT_EQ(all.size(), 8U);
    ASSERT_EQ(colorsOf(only).size(), 1U);
    EXPECT_EQ(all.count(*colorsOf(only).begin()), 1U);
    EXPECT_EQ(without.size(), 7U);
    EXPECT_EQ(without.count(*colorsOf(only).begin()), 0U);
    EXPECT_EQ(drawn(sample, {"--color-by", "scan", "--hide-scans", "0,1,2,4,5,6,7"}), only);
}

TEST_F(CliLookOptions, BoxesAreDrawnAroundNodes)
{
    const std::vector<std::string> points{"--point-size", "0.001"};
    std::vector<std::string> boxes = points;
    boxes.emplace_back("--boxes");

    EXPECT_GT(covered(drawn(boxes)), covered(drawn(points)) + 100);
}

TEST_F(CliLookOptions, PointsHaveTheSizeGiven)
{
    // a cloud that fills a tenth of the picture and more, by points of a pixel and of many
    const auto small = covered(drawn({"--point-size", "0.001"}));
    const auto large = covered(drawn({"--point-size", "1000"}));

    EXPECT_GT(small, 0);
    EXPECT_GT(large, small + small / 10);
    EXPECT_EQ(covered(drawn({"--point-size", "1000", "--max-point-size", "1"})), small);
}

TEST_F(CliLookOptions, LevelsBelowTheLeastAreKeptWhateverTheirSize)
{
    const std::vector<Color> kept = drawn({"--threshold", "1000000", "--min-level", "2"});

    EXPECT_EQ(kept, drawn({"--threshold", "0", "--max-level", "1"}));
    EXPECT_NE(kept, drawn({"--threshold", "0", "--max-level", "0"}));
}

TEST_F(CliLookOptions, ContrastMayFollowThePoints)
{
    const auto spread = [this](const std::vector<std::string>& options)
    {
        std::vector<int> codes;
        for (const Color& pixel : drawn(options))
        {
            if (pixel != kWhite)
            {
                codes.push_back(pixel.g());
            }
        }
        std::ranges::sort(codes);
        return codes.at(codes.size() * 9 / 10) - codes.at(codes.size() / 10);
    };

    EXPECT_GT(spread({"--auto-contrast", "0.1"}), spread({}) * 5 / 4);
}

TEST_F(CliLookOptions, AnAdapterIsNamedByItsNumber)
{
    EXPECT_EQ(drawn({"--adapter", "0"}), drawn({}));

    const TarnelRun run = runTarnel(
        {"render", text(folder.path() / "x.png"), dataSet("autzen_brotli"), "--adapter", "no such card"}
    );
    EXPECT_NE(run.exitCode, 0);
    EXPECT_THAT(run.errors, HasSubstr("no such card"));
}
