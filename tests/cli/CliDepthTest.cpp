// Depths as distances in TIFF and PFM, against the points that the same picture shows; and names that are
// refused.
#include "tests/cli/lasRecords.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <Eigen/Core>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace
{
using nlohmann::json;
using testing::HasSubstr;

constexpr std::size_t kWidth = 80;
constexpr std::size_t kHeight = 60;

const Eigen::Vector3d kEye(636590, 848700, 900);
const Eigen::Vector3d kTarget(636590, 849216, 430);

/// The command with a camera that looks down obliquely on autzen.
std::vector<std::string> oblique(std::vector<std::string> arguments, bool isParallel)
{
    const std::vector<std::string> camera{
        "--cloud",
        dataSet("autzen_brotli"),
        "--size",
        "80x60",
        "--eye",
        "636590,848700,900",
        "--target",
        "636590,849216,430",
        "--up",
        "0,0,1",
        "--max-level",
        "1"};
    arguments.insert(arguments.end(), camera.begin(), camera.end());
    if (isParallel)
    {
        arguments.insert(arguments.end(), {"--ortho", "800"});
    }
    return arguments;
}

/// The distances along the line of sight of the points that a picture shows, row by row from the top.
std::vector<double> distancesShown(const TemporaryFolder& folder, bool isParallel)
{
    const std::filesystem::path file = folder.path() / "points.csv";
    const TarnelRun run = runTarnel(oblique({"export-visible", text(file), "--absolute"}, isParallel));
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    std::istringstream lines(TemporaryFolder::read(file));
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "X,Y,Z,Red,Green,Blue,Alpha");
    std::vector<double> distances;
    const Eigen::Vector3d direction = (kTarget - kEye).normalized();
    while (std::getline(lines, line))
    {
        Eigen::Vector3d point;
        char comma = 0;
        std::istringstream(line) >> point.x() >> comma >> point.y() >> comma >> point.z();
        distances.push_back(direction.dot(point - kEye));
    }
    return distances;
}

std::vector<float> numbersOf(const std::string& bytes, std::size_t begin)
{
    EXPECT_EQ(bytes.size() - begin, kWidth * kHeight * sizeof(float));
    std::vector<float> numbers;
    for (std::size_t at = begin; at + sizeof(float) <= bytes.size(); at += sizeof(float))
    {
        numbers.push_back(numberAt<float>(bytes, at));
    }
    return numbers;
}

/// The value of an entry of a TIFF file's only folder.
std::uint32_t tiffTag(const std::string& bytes, unsigned number)
{
    const auto folder = numberAt<std::uint32_t>(bytes, 4);
    for (std::size_t i = 0; i < numberAt<std::uint16_t>(bytes, folder); ++i)
    {
        const std::size_t at = folder + 2 + 12 * i;
        if (numberAt<std::uint16_t>(bytes, at) == number)
        {
            EXPECT_EQ(numberAt<std::uint32_t>(bytes, at + 4), 1U);
            return numberAt<std::uint32_t>(bytes, at + 8);
        }
    }
    ADD_FAILURE() << "no entry " << number;
    return 0;
}

void expectDistances(const std::vector<float>& depths, const std::vector<double>& expected, const json& side)
{
    std::size_t shown = 0;
    for (const float depth : depths)
    {
        if (std::isnan(depth))
        {
            continue;
        }
        ASSERT_LT(shown, expected.size());
        ASSERT_NEAR(depth, expected[shown], 0.02) << shown;
        ASSERT_GE(depth, side.at("near").get<double>() * 0.999);
        ASSERT_LE(depth, side.at("far").get<double>() * 1.001);
        ++shown;
    }
    EXPECT_EQ(shown, expected.size());
    EXPECT_GT(shown, 500U);
    EXPECT_LT(shown, depths.size());
}
}  // namespace

TEST(CliDepth, ATiffHasDistancesOfAPerspectiveAndASideFile)
{
    const TemporaryFolder folder;
    const std::filesystem::path tiff = folder.path() / "depth.tif";

    const TarnelRun run =
        runTarnel(oblique({"render", text(folder.path() / "picture.png"), "--depth", text(tiff)}, false));

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr(text(tiff) + "\n" + text(tiff) + ".json\n"));
    const std::string bytes = TemporaryFolder::read(tiff);
    EXPECT_EQ(bytes.substr(0, 4), std::string("II\x2a\0", 4));
    EXPECT_EQ(tiffTag(bytes, 256), kWidth);
    EXPECT_EQ(tiffTag(bytes, 257), kHeight);
    EXPECT_EQ(tiffTag(bytes, 258), 32U);
    EXPECT_EQ(tiffTag(bytes, 259), 1U);
    EXPECT_EQ(tiffTag(bytes, 278), kHeight);
    EXPECT_EQ(tiffTag(bytes, 279), kWidth * kHeight * 4);
    EXPECT_EQ(tiffTag(bytes, 339), 3U);
    const json side = json::parse(TemporaryFolder::read(folder.path() / "depth.tif.json"));
    EXPECT_EQ(side.at("projection"), "perspective");
    EXPECT_EQ(side.at("width"), kWidth);
    expectDistances(numbersOf(bytes, tiffTag(bytes, 273)), distancesShown(folder, false), side);
}

TEST(CliDepth, APfmHasDistancesOfAParallelProjectionFromTheBottom)
{
    const TemporaryFolder folder;
    const std::filesystem::path pfm = folder.path() / "depth.pfm";

    const TarnelRun run =
        runTarnel(oblique({"render", text(folder.path() / "picture.png"), "--depth", text(pfm)}, true));

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    const std::string bytes = TemporaryFolder::read(pfm);
    const std::string header = "Pf\n80 60\n-1.0\n";
    ASSERT_EQ(bytes.substr(0, header.size()), header);
    const std::vector<float> upwards = numbersOf(bytes, header.size());
    std::vector<float> downwards;
    for (std::size_t row = kHeight; row-- > 0;)
    {
        const auto first = upwards.begin() + static_cast<std::ptrdiff_t>(row * kWidth);
        downwards.insert(downwards.end(), first, first + kWidth);
    }
    const json side = json::parse(TemporaryFolder::read(folder.path() / "depth.pfm.json"));
    EXPECT_EQ(side.at("projection"), "parallel");
    expectDistances(downwards, distancesShown(folder, true), side);
}

TEST(CliDepth, OtherFormatsAreRefusedBeforeAnythingIsDrawn)
{
    const TemporaryFolder folder;
    const std::string picture = text(folder.path() / "picture.png");

    const TarnelRun depth = runTarnel(oblique({"render", picture, "--depth", "depth.exr"}, false));
    const TarnelRun points = runTarnel(oblique({"export-visible", "points.xyz"}, false));
    const TarnelRun query =
        runTarnel({"query", dataSet("autzen_brotli"), "--every", "1", "--output", "points.xyz"});

    EXPECT_EQ(depth.exitCode, 2);
    EXPECT_THAT(depth.errors, HasSubstr("'depth.exr' does not end in .png, .tif, .tiff or .pfm"));
    EXPECT_EQ(points.exitCode, 2);
    EXPECT_THAT(points.errors, HasSubstr("'points.xyz' does not end in .txt, .csv, .ply, .las or .laz"));
    EXPECT_EQ(query.exitCode, 2);
    EXPECT_EQ(folder.entryCount(), 0U);
}

TEST(CliDepth, OutputPathsAreTriedBeforeDataSetsAreRead)
{
    const std::string nowhere = text(std::filesystem::path("no-such-folder") / "file");
    const std::string missing = "no-such-data-set";

    const std::vector<std::vector<std::string>> commands{
        {"render", nowhere + ".png", "--cloud", missing},
        {"render", "picture.png", "--depth", nowhere + ".pfm", "--cloud", missing},
        {"export-visible", nowhere + ".ply", "--cloud", missing},
        {"query", missing, "--every", "1", "--output", nowhere + ".las"},
        {"stats", missing, "--density", nowhere + ".png"},
        {"thumbnail", missing, "--output", nowhere + ".png"}};
    for (const std::vector<std::string>& command : commands)
    {
        const TarnelRun run = runTarnel(command);

        EXPECT_EQ(run.exitCode, 1);
        EXPECT_THAT(run.errors, HasSubstr("cannot write no-such-folder")) << command[0];
    }
}

TEST(CliExport, VisiblePointsAreTheSameInEveryFormat)
{
    const TemporaryFolder folder;
    const std::filesystem::path las = folder.path() / "points.laz";

    const std::vector<double> expected = distancesShown(folder, true);
    const TarnelRun run = runTarnel(oblique({"export-visible", text(las), "--absolute"}, true));

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    const std::string bytes = TemporaryFolder::read(las);
    const std::vector<LasRecord> records = lasRecords(bytes);
    ASSERT_EQ(records.size(), expected.size());
    const Eigen::Vector3d direction = (kTarget - kEye).normalized();
    for (std::size_t i = 0; i < records.size(); ++i)
    {
        Eigen::Vector3d point;
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            point[static_cast<Eigen::Index>(axis)] =
                records[i].position[axis] * 0.001 + numberAt<double>(bytes, 155 + 8 * axis);
        }
        ASSERT_NEAR(direction.dot(point - kEye), expected[i], 0.001);
    }
}
