// "stats" against counts made from a dump of all points.
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"
#include <graphics/ColorImage.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{
using nlohmann::json;
using testing::HasSubstr;

/// x, y, z, four channels, intensity, class and scan index of each point, as "dump" prints them.
std::vector<std::vector<double>> dumped(const std::string& name)
{
    std::vector<std::vector<double>> points;
    std::istringstream lines(runTarnel({"dump", dataSet(name), "--all"}).output);
    for (std::string line; std::getline(lines, line);)
    {
        std::istringstream fields(line.substr(line.find(' ')));
        std::vector<double> point;
        for (double value = 0.0; fields >> value;)
        {
            point.push_back(value);
        }
        points.push_back(point);
    }
    return points;
}

json statsOf(const std::string& name, std::vector<std::string> options)
{
    std::vector<std::string> arguments{"stats", dataSet(name), "--json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const TarnelRun run = runTarnel(arguments);
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    return json::parse(run.output);
}

/// Points by the bin that their value lies in.
std::map<double, std::uint64_t> binned(
    const std::vector<std::vector<double>>& points, std::size_t column, double width
)
{
    std::map<double, std::uint64_t> bins;
    for (const std::vector<double>& point : points)
    {
        ++bins[std::floor(point[column] / width) * width];
    }
    return bins;
}

std::map<double, std::uint64_t> binsOf(const json& histogram)
{
    std::map<double, std::uint64_t> bins;
    for (const json& bin : histogram.at("bins"))
    {
        bins[bin.at("from")] = bin.at("points");
    }
    return bins;
}
}  // namespace

TEST(CliStats, EveryKindOfDataSetHasTheCountsThatADumpHas)
{
    for (const std::string name : {"autzen_brotli", "ept_color12_laszip", "copc_color12/color12.copc.laz"})
    {
        const std::vector<std::vector<double>> points = dumped(name);
        std::map<std::uint64_t, std::uint64_t> classes;
        for (const std::vector<double>& point : points)
        {
            ++classes[static_cast<std::uint64_t>(point[8])];
        }

        const json stats = statsOf(name, {});

        EXPECT_EQ(stats.at("points"), points.size()) << name;
        std::map<std::uint64_t, std::uint64_t> actual;
        for (const json& row : stats.at("classes"))
        {
            actual[row.at("class")] = row.at("points");
        }
        EXPECT_EQ(actual, classes) << name;
        EXPECT_EQ(binsOf(stats.at("heights")), binned(points, 2, stats.at("heights").at("width"))) << name;
        EXPECT_EQ(binsOf(stats.at("intensities")), binned(points, 7, stats.at("intensities").at("width")));
        for (std::size_t column = 0; column < 3; ++column)
        {
            const auto isLess = [column](const auto& a, const auto& b) { return a[column] < b[column]; };
            const auto [min, max] = std::ranges::minmax_element(points, isLess);
            EXPECT_EQ(stats.at("ranges")[column].at("min"), (*min)[column]) << name;
            EXPECT_EQ(stats.at("ranges")[column].at("max"), (*max)[column]) << name;
        }
    }
}

TEST(CliStats, DensitiesAreThoseOfTheCellsThatHavePoints)
{
    const std::vector<std::vector<double>> points = dumped("autzen_brotli");
    std::map<std::pair<double, double>, std::uint64_t> cells;
    for (const std::vector<double>& point : points)
    {
        ++cells[{std::floor(point[1] / 25.0), std::floor(point[0] / 25.0)}];
    }
    std::vector<std::uint64_t> counts;
    for (const auto& [cell, count] : cells)
    {
        counts.push_back(count);
    }
    std::ranges::sort(counts);

    const json density = statsOf("autzen_brotli", {"--cell", "25"}).at("density");

    EXPECT_EQ(density.at("cells"), counts.size());
    EXPECT_DOUBLE_EQ(density.at("area"), static_cast<double>(counts.size()) * 625.0);
    EXPECT_DOUBLE_EQ(density.at("mean"), 110000.0 / (static_cast<double>(counts.size()) * 625.0));
    EXPECT_DOUBLE_EQ(density.at("min"), static_cast<double>(counts.front()) / 625.0);
    EXPECT_DOUBLE_EQ(density.at("max"), static_cast<double>(counts.back()) / 625.0);
    EXPECT_EQ(density.at("outside"), 0);
    const double firstColumn = density.at("origin")[0].get<double>() / 25.0;
    const double firstRow = density.at("origin")[1].get<double>() / 25.0;
    for (const auto& [cell, count] : cells)
    {
        const auto row = static_cast<std::size_t>(cell.first - firstRow);
        const auto column = static_cast<std::size_t>(cell.second - firstColumn);
        ASSERT_EQ(density.at("counts")[row][column], count);
    }
}

TEST(CliStats, TheDensityPictureHasTheNorthAtTheTopAndIsClearWhereNothingIs)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.path() / "density.png";

    const json density = statsOf("autzen_brotli", {"--cell", "100", "--density", text(file)}).at("density");

    const json& counts = density.at("counts");
    const Graphics::ColorImage image = Graphics::ColorImage::readPng(file);
    const std::size_t rows = counts.size();
    const std::size_t columns = counts[0].size();
    ASSERT_EQ(image.width() % columns, 0U);
    const std::uint64_t factor = image.width() / columns;
    EXPECT_EQ(image.height(), rows * factor);
    std::size_t clear = 0;
    for (std::size_t row = 0; row < rows; ++row)
    {
        for (std::size_t column = 0; column < columns; ++column)
        {
            const Math::Color color = image.pixel(column * factor, (rows - 1 - row) * factor);
            EXPECT_EQ(color.a(), counts[row][column] == 0 ? 0 : 255);
            clear += color.a() == 0 ? 1 : 0;
            if (counts[row][column].get<double>() / 10000.0 == density.at("max"))
            {
                EXPECT_GT(color.r(), 240);  // the end of Viridis, yellow
                EXPECT_LT(color.b(), 60);
            }
        }
    }
    EXPECT_LT(clear, rows * columns);
}

TEST(CliStats, RegionsAndAttributesChooseWhatIsCounted)
{
    const std::vector<std::string> choice{
        "--box", "636200.003,849000.003,0,636700.003,849300.003,430.003", "--classification", "2"};
    const TarnelRun query =
        runTarnel({"query", dataSet("autzen_brotli"), choice[0], choice[1], choice[2], choice[3]});

    const json stats = statsOf("autzen_brotli", choice);

    EXPECT_EQ(stats.at("points").get<std::ptrdiff_t>(), std::ranges::count(query.output, '\n') - 1);
    EXPECT_EQ(stats.at("classes").size(), 1U);
}

TEST(CliStats, TextHasWhatJsonHas)
{
    const TarnelRun run = runTarnel({"stats", dataSet("copc_color12/color12.copc.laz")});

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("points     1065\n"));
    EXPECT_THAT(run.output, HasSubstr("system     NAD83 / Oregon LCC (m) + NAVD88"));
    EXPECT_THAT(run.output, HasSubstr("\nIntensity        0 to 254\n"));
    EXPECT_THAT(run.output, HasSubstr(" ground\n"));
}

TEST(CliStats, NoPointsAreCountedToo)
{
    const json stats = statsOf("autzen_brotli", {"--box", "0,0,0,1,1,1"});

    EXPECT_EQ(stats.at("points"), 0);
    EXPECT_EQ(stats.at("ranges"), json::array());
    EXPECT_EQ(stats.at("density").at("cells"), 0);
}

TEST(CliStats, CellsTooSmallForTheBoundsAreRefused)
{
    const TarnelRun run = runTarnel({"stats", dataSet("autzen_brotli"), "--cell", "0.01"});

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.errors, HasSubstr("cells of 0.01 are too small for these bounds"));
}

TEST(CliInfo, TellsTheCoordinateSystem)
{
    const std::string copc = "copc_color12/color12.copc.laz";

    EXPECT_THAT(runTarnel({"info", dataSet(copc)}).output, HasSubstr("system     NAD83 / Oregon"));
    EXPECT_THAT(runTarnel({"info", dataSet("autzen_brotli")}).output, HasSubstr("system     not stated\n"));
    const json info = json::parse(runTarnel({"info", dataSet("ept_ellipsoid_zstandard"), "--json"}).output);
    EXPECT_THAT(
        info.at("coordinateSystem").get<std::string>(), testing::StartsWith("PROJCS[\"WGS 84 / Pseudo-Mer")
    );
}
