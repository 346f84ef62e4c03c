// The command line tool on a COPC file, run as a program.
#include "graphics/ColorImage.h"
#include "tests/cli/printedPoints.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace
{
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

const std::string kName = "copc_color12/color12.copc.laz";

json reference()
{
    return json::parse(std::ifstream(dataSet("copc_color12") + "/reference.json"));
}

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

std::string joined(const std::vector<double>& numbers)
{
    std::ostringstream result;
    result << std::fixed;
    for (std::size_t i = 0; i < numbers.size(); ++i)
    {
        result << (i > 0 ? "," : "") << numbers[i];
    }
    return result.str();
}

class CliCopc : public testing::Test
{
protected:
    TemporaryFolder folder;

    std::string file(const std::string& name) const { return text(folder.path() / name); }
};
}  // namespace

TEST_F(CliCopc, InfoTellsTheReferenceValues)
{
    const json expected = reference();

    const TarnelRun run = runTarnel({"info", dataSet(kName), "--json"});

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    const json info = json::parse(run.output);
    EXPECT_EQ(info["name"], "color12");
    EXPECT_EQ(info["kind"], "COPC");
    EXPECT_EQ(info["encoding"], "laszip");
    EXPECT_EQ(info["points"], expected["points"]);
    EXPECT_EQ(info["nodes"], expected["nodes"]);
    EXPECT_EQ(info["spacing"].get<float>(), expected["spacing"].get<float>());
    EXPECT_EQ(info["referencePosition"], expected["offset"]);
    EXPECT_EQ(info["cube"]["min"], expected["bounding_cube"]["min"]);
    EXPECT_EQ(info["cube"]["max"], expected["bounding_cube"]["max"]);
    EXPECT_EQ(info["bounds"]["min"], expected["header_min"]);
    EXPECT_EQ(info["bounds"]["max"], expected["header_max"]);
    ASSERT_EQ(info["levels"].size(), expected["points_per_level"].size());
    for (std::size_t level = 0; level < info["levels"].size(); ++level)
    {
        EXPECT_EQ(info["levels"][level]["points"], expected["points_per_level"][level]);
        EXPECT_EQ(info["levels"][level]["nodes"], expected["nodes_per_level"][level]);
    }
    const auto time =
        std::ranges::find(info["attributes"], "GpsTime", [](const json& a) { return a["name"]; });
    ASSERT_NE(time, info["attributes"].end());
    EXPECT_EQ((*time)["min"], expected["gpstime"][0]);
    EXPECT_EQ((*time)["max"], expected["gpstime"][1]);
}

TEST_F(CliCopc, ADumpHasTheValuesOfTheReference)
{
    const json expected = reference();

    const TarnelRun run = runTarnel({"dump", dataSet(kName), "--all"});

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    std::istringstream lines(run.output);
    std::string line;
    std::size_t points = 0;
    std::int64_t intensities = 0;
    std::array<std::int64_t, 3> colors{};
    std::map<std::string, std::int64_t> classes;
    std::map<std::string, std::size_t> pointsOfNode;
    while (std::getline(lines, line))
    {
        std::istringstream fields(line);
        std::string node;
        std::array<double, 3> position{};
        std::array<int, 4> color{};
        int intensity = 0;
        int classification = 0;
        int source = 0;
        fields >> node >> position[0] >> position[1] >> position[2] >> color[0] >> color[1] >> color[2] >>
            color[3] >> intensity >> classification >> source;
        ASSERT_FALSE(fields.fail()) << line;
        if (pointsOfNode[node]++ == 0 && expected["node_samples"].contains(node))
        {
            const json first = expected["node_samples"][node]["first"];
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                EXPECT_NEAR(position[axis], first["xyz"][axis].get<double>(), 1e-6) << node;
            }
            EXPECT_EQ((std::array{color[0], color[1], color[2]}), (first["rgb"].get<std::array<int, 3>>()))
                << node;
            EXPECT_EQ(intensity, first["intensity"].get<int>()) << node;
            EXPECT_EQ(source, first["point_source_id"].get<int>()) << node;
        }
        ++points;
        intensities += intensity;
        ++classes[std::to_string(classification)];
        for (std::size_t i = 0; i < 3; ++i)
        {
            colors[i] += color[i];
        }
    }
    EXPECT_EQ(points, expected["points"].get<std::size_t>());
    EXPECT_EQ(intensities, expected["intensity"]["sum"].get<std::int64_t>());
    EXPECT_EQ(colors, (expected["rgb"]["sum"].get<std::array<std::int64_t, 3>>()));
    EXPECT_EQ(classes, (expected["classification_histogram"].get<std::map<std::string, std::int64_t>>()));
    for (const auto& [node, sample] : expected["node_samples"].items())
    {
        EXPECT_EQ(pointsOfNode[node], sample["points"].get<std::size_t>()) << node;
    }
}

TEST_F(CliCopc, ThumbnailAndRenderShowThePoints)
{
    const TarnelRun thumbnail = runTarnel(
        {"thumbnail", dataSet(kName), "--output", file("small.png"), "--width", "96", "--height", "72"}
    );
    const TarnelRun render =
        runTarnel({"render", file("large.png"), "--cloud", dataSet(kName), "--size", "160x120"});

    ASSERT_EQ(thumbnail.exitCode, 0) << thumbnail.errors;
    ASSERT_EQ(render.exitCode, 0) << render.errors;
    EXPECT_GT(coveredPixels(Graphics::ColorImage::readPng(folder.path() / "small.png")), 300U);
    EXPECT_GT(coveredPixels(Graphics::ColorImage::readPng(folder.path() / "large.png")), 1000U);
}

TEST_F(CliCopc, AQueryOfEverythingYieldsThePointsOfADump)
{
    const json cube = reference()["bounding_cube"];
    std::ostringstream box;
    box << cube["min"][0] << ',' << cube["min"][1] << ',' << cube["min"][2] << ',' << cube["max"][0] << ','
        << cube["max"][1] << ',' << cube["max"][2];

    const TarnelRun run = runTarnel({"query", dataSet(kName), "--box", box.str()});

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    // half of a float's last digit at a few thousand units from the reference position is 1.2e-4
    expectSamePoints(parsePointText(run.output), dumpAll(kName), 5e-4);
}

TEST_F(CliCopc, APickFromAboveFindsAPointOfTheReference)
{
    const json point = reference()["node_samples"]["r"]["first"];
    const auto position = point["xyz"].get<std::vector<double>>();

    const TarnelRun run = runTarnel(
        {"pick",
         dataSet(kName),
         "--eye",
         joined({position[0], position[1], position[2] + 1000}),
         "--target",
         joined(position),
         "--up",
         "0,1,0",
         "--ortho",
         "60",
         "--size",
         "61x61",
         "--pixel",
         "30,30"}
    );

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    std::istringstream fields(run.output);
    std::string word;
    std::array<double, 3> found{};
    fields >> word >> found[0] >> found[1] >> found[2];
    EXPECT_EQ(word, "point");
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        EXPECT_NEAR(found[axis], position[axis], 5e-4);
    }
}

TEST_F(CliCopc, ExportVisibleWritesPointsOfTheFile)
{
    const json expected = reference();

    const TarnelRun run = runTarnel(
        {"export-visible", file("points.txt"), "--cloud", dataSet(kName), "--absolute", "--size", "96x72"}
    );

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    const std::vector<PrintedPoint> points =
        parsePointText(TemporaryFolder::read(folder.path() / "points.txt"));
    EXPECT_GT(points.size(), 300U);
    for (const PrintedPoint& point : points)
    {
        for (int axis = 0; axis < 3; ++axis)
        {
            const auto i = static_cast<std::size_t>(axis);
            ASSERT_GT(
                point.position[axis], expected["header_min"][i].get<double>() - 200
            );  // splats are large
            ASSERT_LT(point.position[axis], expected["header_max"][i].get<double>() + 200);
        }
    }
}

TEST_F(CliCopc, TheThumbnailOfAFileGoesIntoItsFolder)
{
    std::filesystem::copy_file(dataSet(kName), folder.path() / "cloud.bin");  // known by what is in it

    const TarnelRun run = runTarnel({"thumbnail", file("cloud.bin"), "--width", "32", "--height", "24"});

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "thumbnail.png"));
}

TEST_F(CliCopc, AFileWithoutOctreeIsRefusedInOneLineThatSaysHowToGetOne)
{
    const std::filesystem::path tile =
        std::filesystem::path(dataSet("ept_color12_laszip")) / "ept-data" / "0-0-0-0.laz";

    for (const TarnelRun& run :
         {runTarnel({"info", text(tile)}),
          runTarnel({"render", file("x.png"), "--cloud", text(tile), "--size", "64x48"})})
    {
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(std::ranges::count(run.errors, '\n'), 1);
        EXPECT_THAT(
            run.errors,
            AllOf(
                HasSubstr("0-0-0-0.laz: a LAS file without octree, expected Cloud Optimized Point Cloud; "),
                HasSubstr("\"pdal translate in.laz out.copc.laz\"")
            )
        );
    }
}

TEST_F(CliCopc, ABrokenNodeIsOneLineThatNamesIt)
{
    std::string bytes = TemporaryFolder::read(dataSet(kName));
    bytes.resize(31604 - 100);  // the hierarchy, which lies behind the points, is lost
    folder.write("x.copc.laz", bytes);

    const TarnelRun run = runTarnel({"dump", file("x.copc.laz")});

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(std::ranges::count(run.errors, '\n'), 1);
    EXPECT_THAT(run.errors, HasSubstr("x.copc.laz: a hierarchy page of 2080 bytes at byte 31604, expected"));
}

TEST_F(CliCopc, AFileThatIsNotThereIsNoDataSet)
{
    const TarnelRun run = runTarnel({"info", file("missing.copc.laz")});

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.errors, HasSubstr("missing.copc.laz: no data set here"));
}

TEST_F(CliCopc, ASampleIsOneFileThatIsPrinted)
{
    const TarnelRun run =
        runTarnel({"sample", file("out"), "--points", "3000", "--format", "copc", "--cloud-only"});

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_EQ(run.output.substr(0, run.output.find_first_of("\r\n")), file("out") + "/sample.copc.laz");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path() / "out"), {}), 1);
    const TarnelRun info = runTarnel({"info", file("out") + "/sample.copc.laz", "--json"});
    EXPECT_EQ(json::parse(info.output)["kind"], "COPC");
}
