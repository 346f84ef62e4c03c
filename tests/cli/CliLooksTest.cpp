// How pictures of the command line tool look, run as a program.
#include "graphics/ColorImage.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
