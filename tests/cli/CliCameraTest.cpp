// From where the command line tool looks, and what it tells of pixels, run as a program.
#include "graphics/ColorImage.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace
{
using Math::Color;
using nlohmann::json;
using testing::HasSubstr;

constexpr const char* kCloud = "autzen_brotli";  // x from 636001.76 to 637179.22, y from 848935.2 to 849497.9

class CliCamera : public testing::Test
{
protected:
    TemporaryFolder folder;

    std::string file(const std::string& name) const { return text(folder.path() / name); }

    std::vector<Color> rendered(const std::vector<std::string>& options)
    {
        std::vector<std::string> arguments{
            "render", file("picture.png"), "--cloud", dataSet(kCloud), "--size", "160x90"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const TarnelRun run = runTarnel(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        return pixels("picture.png");
    }

    std::vector<Color> pixels(const std::string& name) const
    {
        const Graphics::ColorImage image = Graphics::ColorImage::readPng(folder.path() / name);
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

    /// Share of the pixels that differ.
    static double difference(const std::vector<Color>& a, const std::vector<Color>& b)
    {
        EXPECT_EQ(a.size(), b.size());
        std::size_t count = 0;
        for (std::size_t i = 0; i < a.size(); ++i)
        {
            count += !(a[i] == b[i]);
        }
        return static_cast<double>(count) / static_cast<double>(a.size());
    }

    static std::string errorOf(const std::vector<std::string>& options)
    {
        std::vector<std::string> arguments{"render", "x.png", "--cloud", dataSet(kCloud)};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const TarnelRun run = runTarnel(arguments);
        EXPECT_EQ(run.exitCode, 2) << run.errors;
        return run.errors;
    }
};
}  // namespace

TEST_F(CliCamera, AViewFromTheSouthIsThatOfItsAzimuthAndOfItsEye)
{
    const std::vector<Color> south = rendered({"--view", "south", "--distance", "900"});

    EXPECT_EQ(south, rendered({"--azimuth", "180", "--elevation", "0", "--distance", "900"}));
    // the middle of the bounds is 636590.49, 849216.55, 463.385
    const std::vector<Color> byEye =
        rendered({"--eye", "636590.49,848316.55,463.385", "--target", "636590.49,849216.55,463.385"});
    EXPECT_LT(difference(south, byEye), 0.02) << "but for rounding";
}

TEST_F(CliCamera, ADistanceCountsFromTheTarget)
{
    const std::vector<Color> given = rendered(
        {"--azimuth", "90", "--elevation", "30", "--distance", "500", "--target", "636500,849200,420"}
    );
    // 500 cos 30 = 433.0127, 500 sin 30 = 250
    const std::vector<Color> byEye =
        rendered({"--eye", "636933.0127,849200,670", "--target", "636500,849200,420"});
    EXPECT_LT(difference(given, byEye), 0.02);
}

TEST_F(CliCamera, AParallelViewFromAboveFillsThePictureAndIsToScale)
{
    const TarnelRun run = runTarnel(
        {"export-visible",
         file("points.txt"),
         "--cloud",
         dataSet(kCloud),
         "--size",
         "160x90",
         "--view",
         "top",
         "--ortho",
         "--absolute"}
    );
    ASSERT_EQ(run.exitCode, 0) << run.errors;
    std::istringstream points(TemporaryFolder::read(folder.path() / "points.txt"));
    std::string line;
    std::getline(points, line);
    double least = 1e9;
    double most = 0;
    double firstY = 0;
    double lastY = 0;
    while (std::getline(points, line))
    {
        double x = 0;
        std::istringstream(line) >> x >> lastY;
        firstY = firstY == 0 ? lastY : firstY;
        least = std::min(least, x);
        most = std::max(most, x);
    }
    // 1177.46 across fill 0.96 of 160 pixels
    EXPECT_NEAR(most - least, 1177.46, 2 * 1177.46 / 0.96 / 160);
    EXPECT_GT(firstY, lastY + 400) << "the north is up";
}

TEST_F(CliCamera, FitShowsABoxAsLargeAsADataSetIsShown)
{
    const std::vector<Color> byDataSet = rendered({"--fit", dataSet(kCloud)});
    EXPECT_EQ(byDataSet, rendered({}));
    const std::vector<Color> byBox =
        rendered({"--fit", "636001.76,848935.2,406.26,637179.22,849497.9,520.51"});
    EXPECT_LT(difference(byBox, byDataSet), 0.02);
    EXPECT_GT(difference(byDataSet, rendered({"--fit", "636500,849100,410,636700,849300,450"})), 0.3);
}

TEST_F(CliCamera, ASectionShowsWhatItsWidthHolds)
{
    const TarnelRun run = runTarnel(
        {"export-visible",
         file("points.txt"),
         "--cloud",
         dataSet(kCloud),
         "--size",
         "400x100",
         "--section",
         "636100,849200,636900,849300,20",
         "--absolute"}
    );
    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("a pixel of the section is "));
    std::istringstream points(TemporaryFolder::read(folder.path() / "points.txt"));
    std::string line;
    std::getline(points, line);
    std::size_t count = 0;
    const double length = std::hypot(800.0, 100.0);
    while (std::getline(points, line))
    {
        double x = 0;
        double y = 0;
        std::istringstream(line) >> x >> y;
        const double across = ((x - 636100) * -100 + (y - 849200) * 800) / length;
        EXPECT_LT(std::abs(across), 10.1);
        ++count;
    }
    EXPECT_GT(count, 300U);
}

TEST_F(CliCamera, AnOrbitIsAsManyPicturesFromAllSides)
{
    const TarnelRun run = runTarnel(
        {"render",
         file("round.png"),
         "--cloud",
         dataSet(kCloud),
         "--size",
         "160x90",
         "--orbit",
         "--frames",
         "4",
         "--azimuth",
         "10",
         "--elevation",
         "20"}
    );
    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_EQ(
        run.output,
        file("round-000.png") + "\n" + file("round-001.png") + "\n" + file("round-002.png") + "\n" +
            file("round-003.png") + "\n"
    );
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "round.png"));
    EXPECT_EQ(pixels("round-000.png"), rendered({"--azimuth", "10", "--elevation", "20"}));
    EXPECT_LT(difference(pixels("round-002.png"), rendered({"--azimuth", "190", "--elevation", "20"})), 0.02);
}

TEST_F(CliCamera, PickTellsCloudClassAndColour)
{
    const TarnelRun run =
        runTarnel({"pick", dataSet(kCloud), "--pixel", "640,360", "--tolerance", "40", "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.errors;
    const json hit = json::parse(run.output);
    EXPECT_EQ(hit.at("cloud"), dataSet(kCloud));

    // the line of the dump that has the point's coordinates
    std::istringstream dump(runTarnel({"dump", dataSet(kCloud), "--all"}).output);
    bool isFound = false;
    for (std::string line; !isFound && std::getline(dump, line);)
    {
        std::istringstream fields(line);
        std::string node;
        double x = 0;
        double y = 0;
        double z = 0;
        std::vector<int> rest(6);
        fields >> node >> x >> y >> z;
        for (int& value : rest)
        {
            fields >> value;
        }
        if (std::abs(x - hit.at("point")[0].get<double>()) < 0.002 &&
            std::abs(y - hit.at("point")[1].get<double>()) < 0.002 &&
            std::abs(z - hit.at("point")[2].get<double>()) < 0.002)
        {
            isFound = true;
            EXPECT_EQ(hit.at("color"), json({rest[0], rest[1], rest[2], rest[3]}));
            EXPECT_EQ(hit.at("intensity"), rest[4]);
            EXPECT_EQ(hit.at("class"), rest[5]);
            EXPECT_EQ(hit.at("className"), rest[5] == 2 ? "ground" : "unclassified");
        }
    }
    EXPECT_TRUE(isFound);
}

TEST_F(CliCamera, SeveralPixelsArePickedAtOnce)
{
    const TarnelRun run = runTarnel(
        {"pick",
         dataSet(kCloud),
         "--pixel",
         "640,360",
         "--pixel",
         "0,0",
         "--class-name",
         "2=soil",
         "--class-name",
         "1=rest",
         "--tolerance",
         "40",
         "--json"}
    );
    ASSERT_EQ(run.exitCode, 0) << run.errors;
    const json hits = json::parse(run.output);
    ASSERT_EQ(hits.size(), 2U);
    EXPECT_EQ(hits[0].at("pixel"), json({640, 360}));
    EXPECT_TRUE(hits[0].at("className") == "soil" || hits[0].at("className") == "rest");
    EXPECT_EQ(hits[1].at("hit"), false);

    const TarnelRun text =
        runTarnel({"pick", dataSet(kCloud), "--pixel", "640,360", "--pixel", "0,0", "--tolerance", "40"});
    EXPECT_THAT(text.output, testing::StartsWith("pixel     640 360\npoint "));
    EXPECT_THAT(text.output, HasSubstr("\npixel     0 0\nnothing there\n"));
}

TEST_F(CliCamera, PixelsOutsideThePictureAreRefused)
{
    const TarnelRun run = runTarnel({"pick", dataSet(kCloud), "--size", "64x48", "--pixel", "64,0"});

    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.errors, HasSubstr("--pixel: '64,0' lies outside the picture, whose last pixel is 63,47"));
}

TEST_F(CliCamera, ThumbnailsTakeTheSpellingOfTheOthersAndTheirOldOne)
{
    const TarnelRun now = runTarnel(
        {"thumbnail", dataSet(kCloud), "--output", file("now.png"), "--size", "96x72", "--max-level", "1"}
    );
    const TarnelRun old = runTarnel(
        {"thumbnail",
         dataSet(kCloud),
         "--output",
         file("old.png"),
         "--width",
         "96",
         "--height",
         "72",
         "--level",
         "1"}
    );

    EXPECT_EQ(pixels("now.png"), pixels("old.png"));
    EXPECT_EQ(now.errors.find("note"), std::string::npos) << now.errors;
    EXPECT_THAT(old.errors, HasSubstr("tarnel: note: --width and --height are now --size\n"));
    EXPECT_THAT(old.errors, HasSubstr("tarnel: note: --level is now --max-level\n"));
}

TEST_F(CliCamera, CamerasThatMakeNoSenseAreNamed)
{
    EXPECT_THAT(errorOf({"--view", "up"}), HasSubstr("--view"));
    EXPECT_THAT(errorOf({"--view", "top", "--eye", "1,2,3"}), HasSubstr("excludes"));
    EXPECT_THAT(errorOf({"--elevation", "91"}), HasSubstr("--elevation"));
    EXPECT_THAT(errorOf({"--distance", "0"}), HasSubstr("--distance"));
    EXPECT_THAT(errorOf({"--section", "1,2,1,2,5"}), HasSubstr("'1,2,1,2,5' has no length or no width"));
    EXPECT_THAT(errorOf({"--section", "1,2,3"}), HasSubstr("5 finite numbers"));
    EXPECT_THAT(errorOf({"--fit", "5,0,0,1,1,1"}), HasSubstr("'5,0,0,1,1,1' is an inverted box"));
    EXPECT_THAT(errorOf({"--orbit"}), HasSubstr("--frames"));
    EXPECT_THAT(errorOf({"--orbit", "--frames", "2", "--view", "top"}), HasSubstr("excludes"));
}
