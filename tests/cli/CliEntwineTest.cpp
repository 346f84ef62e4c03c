// The command line tool on Entwine Point Tiles, run as a program.
#include "graphics/ColorImage.h"
#include "tests/cli/printedPoints.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/ImageComparer.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace
{
using nlohmann::json;
using testing::HasSubstr;

json referenceOf(const std::string& name)
{
    return json::parse(std::ifstream(dataSet(name) + "/reference.json"));
}

/// Pixels that are not white.
std::size_t coveredPixels(const Graphics::ColorImage& image)
{
    std::size_t count = 0;
    for (std::uint64_t y = 0; y < image.height(); ++y)
    {
        for (std::uint64_t x = 0; x < image.width(); ++x)
        {
            count += image.pixel(x, y) != Math::Color(255, 255, 255, 255);
        }
    }
    return count;
}

/// Millimetres, in which the sample's points are whole numbers, and the colour.
using Row = std::array<long long, 7>;

std::vector<Row> sortedRows(const std::string& content)
{
    std::vector<Row> rows;
    for (const PrintedPoint& point : parsePointText(content))
    {
        Row& row = rows.emplace_back();
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            row[axis] = std::llround(point.position[static_cast<int>(axis)] * 1000);
        }
        std::ranges::copy(point.color, row.begin() + 3);
    }
    std::ranges::sort(rows);
    return rows;
}

class CliEntwine : public testing::TestWithParam<std::string>
{
protected:
    TemporaryFolder folder;

    std::string file(const std::string& name) const { return text(folder.path() / name); }
};

INSTANTIATE_TEST_SUITE_P(
    DataSets,
    CliEntwine,
    testing::Values("ept_lonestar_thin_binary", "ept_ellipsoid_zstandard", "ept_color12_laszip")
);
}  // namespace

TEST_P(CliEntwine, InfoTellsTheReferenceValues)
{
    const json reference = referenceOf(GetParam());

    const TarnelRun run = runTarnel({"info", dataSet(GetParam()), "--json"});

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    const json info = json::parse(run.output);
    EXPECT_EQ(info["kind"], "Entwine");
    EXPECT_EQ(info["encoding"], reference["data_type"]);
    EXPECT_EQ(info["points"], reference["points_in_hierarchy"]);
    EXPECT_EQ(info["nodes"], reference["nodes"]);
    EXPECT_EQ(info["spacing"], reference["spacing"]);
    EXPECT_EQ(info["referencePosition"], reference["schema_offset"]);
    EXPECT_EQ(info["cube"]["min"], reference["bounding_cube"]["min"]);
    EXPECT_EQ(info["cube"]["max"], reference["bounding_cube"]["max"]);
    ASSERT_EQ(info["levels"].size(), reference["points_per_level"].size());
    for (std::size_t level = 0; level < info["levels"].size(); ++level)
    {
        EXPECT_EQ(info["levels"][level]["points"], reference["points_per_level"][level]);
        EXPECT_EQ(info["levels"][level]["nodes"], reference["nodes_per_level"][level]);
    }
}

TEST_P(CliEntwine, ThumbnailAndRenderShowThePoints)
{
    const TarnelRun thumbnail = runTarnel(
        {"thumbnail", dataSet(GetParam()), "--output", file("small.png"), "--width", "96", "--height", "72"}
    );
    const TarnelRun render =
        runTarnel({"render", file("large.png"), "--cloud", dataSet(GetParam()), "--size", "160x120"});

    ASSERT_EQ(thumbnail.exitCode, 0) << thumbnail.errors;
    ASSERT_EQ(render.exitCode, 0) << render.errors;
    EXPECT_GT(coveredPixels(Graphics::ColorImage::readPng(folder.path() / "small.png")), 500U);
    EXPECT_GT(coveredPixels(Graphics::ColorImage::readPng(folder.path() / "large.png")), 1500U);
}

TEST_P(CliEntwine, AQueryOfEverythingYieldsThePointsOfADump)
{
    const json cube = referenceOf(GetParam())["bounding_cube"];
    std::ostringstream box;
    box << cube["min"][0] << ',' << cube["min"][1] << ',' << cube["min"][2] << ',' << cube["max"][0] << ','
        << cube["max"][1] << ',' << cube["max"][2];

    const TarnelRun run = runTarnel({"query", dataSet(GetParam()), "--box", box.str()});

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    // half of a float's last digit at a few thousand units from the reference position is 1.2e-4
    expectSamePoints(parsePointText(run.output), dumpAll(GetParam()), 5e-4);
}

TEST_P(CliEntwine, ExportVisibleWritesPointsWithinTheBoundsAndPickFindsOne)
{
    const json bounds = referenceOf(GetParam())["bounds_conforming"];
    const double margin = 0.05 * (bounds[3].get<double>() - bounds[0].get<double>());  // splats are larger

    const TarnelRun run = runTarnel(
        {"export-visible",
         file("points.txt"),
         "--cloud",
         dataSet(GetParam()),
         "--absolute",
         "--size",
         "96x72"}
    );
    const TarnelRun pick =
        runTarnel({"pick", dataSet(GetParam()), "--pixel", "48,36", "--tolerance", "30", "--size", "96x72"});

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    std::ifstream stream(folder.path() / "points.txt", std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    const std::vector<PrintedPoint> points = parsePointText(content);
    EXPECT_GT(points.size(), 500U);
    for (const PrintedPoint& point : points)
    {
        for (int axis = 0; axis < 3; ++axis)
        {
            const auto corner = static_cast<std::size_t>(axis);
            ASSERT_GT(point.position[axis], bounds[corner].get<double>() - margin);
            ASSERT_LT(point.position[axis], bounds[corner + 3].get<double>() + margin);
        }
    }
    ASSERT_EQ(pick.exitCode, 0) << pick.errors;
    EXPECT_THAT(pick.output, testing::StartsWith("point"));
}

// The five store the same millimetres in the same nodes. But they count from different reference positions,
// so single precision rounds coordinates by some hundredths of a millimetre: far less than a pixel, and the
// borders of the query lie between millimetres. The edge of a splat may fall differently, though none does
// here.
TEST(CliEntwineSample, OneCloudInEveryFormatLooksTheSameAndAnswersQueriesTheSame)
{
    const TemporaryFolder folder;

    struct Format
    {
        std::string name;
        std::vector<std::string> options;
        std::string encoding;
    };

    const std::vector<Format> formats{
        {"brotli", {"--encoding", "brotli"}, "BROTLI"},
        {"default", {"--encoding", "default"}, "DEFAULT"},
        {"binary", {"--format", "ept-binary"}, "binary"},
        {"zstandard", {"--format", "ept-zstandard"}, "zstandard"},
        {"copc", {"--format", "copc"}, "laszip"},
    };
    std::vector<Graphics::ColorImage> pictures;
    std::vector<std::vector<Row>> rows;
    for (const Format& format : formats)
    {
        std::vector<std::string> arguments{
            "sample", text(folder.path() / format.name), "--points", "30000", "--cloud-only"};
        arguments.insert(arguments.end(), format.options.begin(), format.options.end());
        const TarnelRun sample = runTarnel(arguments);
        ASSERT_EQ(sample.exitCode, 0) << sample.errors;
        const std::string path = sample.output.substr(0, sample.output.find_first_of("\r\n"));
        const json info = json::parse(runTarnel({"info", path, "--json"}).output);
        EXPECT_EQ(info["encoding"], format.encoding);

        // The bounds in metadata are written with other precision, so the view is not left to be fitted to
        // them.
        const auto min = info["cube"]["min"].get<std::vector<double>>();
        const auto max = info["cube"]["max"].get<std::vector<double>>();
        const auto point = [&](double x, double y, double z)
        {
            std::ostringstream result;
            result << std::fixed << min[0] + x * (max[0] - min[0]) << ',' << min[1] + y * (max[1] - min[1])
                   << ',' << min[2] + z * (max[2] - min[2]);
            return result.str();
        };
        const std::filesystem::path picture = folder.path() / (format.name + ".png");
        const TarnelRun render = runTarnel(
            {"render",
             text(picture),
             "--cloud",
             path,
             "--eye",
             point(-0.5, -0.7, 0.8),
             "--target",
             point(0.5, 0.5, 0.05),
             "--size",
             "320x240",
             "--threshold",
             "1"}
        );
        ASSERT_EQ(render.exitCode, 0) << render.errors;
        pictures.push_back(Graphics::ColorImage::readPng(picture));

        const TarnelRun query =
            runTarnel({"query", path, "--box", point(0.3004, 0.3004, 0) + ',' + point(0.7004, 0.6004, 0.5)});
        ASSERT_EQ(query.exitCode, 0) << query.errors;
        rows.push_back(sortedRows(query.output));
    }

    EXPECT_GT(coveredPixels(pictures[0]), 10000U);
    EXPECT_GT(rows[0].size(), 1000U);
    for (std::size_t i = 1; i < formats.size(); ++i)
    {
        EXPECT_LT(compareImages(pictures[i], pictures[0]).mean, 0.01) << formats[i].name;
        EXPECT_TRUE(rows[i] == rows[0]) << formats[i].name;
    }
}

TEST(CliEntwineErrors, ABrokenTileIsOneLineThatNamesIt)
{
    const TemporaryFolder folder;
    const std::filesystem::path copy = folder.path() / "set";
    std::filesystem::copy(dataSet("ept_color12_laszip"), copy, std::filesystem::copy_options::recursive);
    std::filesystem::resize_file(copy / "ept-data" / "0-0-0-0.laz", 10000);

    const TarnelRun dump = runTarnel({"dump", text(copy)});
    const TarnelRun render =
        runTarnel({"render", text(folder.path() / "x.png"), "--cloud", text(copy), "--size", "64x48"});

    for (const TarnelRun& run : {dump, render})
    {
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_THAT(run.errors, HasSubstr("0-0-0-0.laz: "));
    }
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "x.png"));
}
