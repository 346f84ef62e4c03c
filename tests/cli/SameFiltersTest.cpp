// The same filters, by three roads: a query, a picture of which the visible points are exported, a scan of
// all points.
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <limits>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{
constexpr const char* kCloud =
    "copc_color12/color12.copc.laz";  // of points that lie far apart, seen from above

struct DumpedPoint
{
    std::string coordinates;  ///< as the tool prints them
    double x = 0.0;
    double y = 0.0;
    int intensity = 0;
    int classification = 0;
};

std::vector<DumpedPoint> dumped()
{
    std::vector<DumpedPoint> points;
    std::istringstream lines(runTarnel({"dump", dataSet(kCloud), "--all"}).output);
    for (std::string line; std::getline(lines, line);)
    {
        std::istringstream fields(line);
        std::string node;
        std::string x;
        std::string y;
        std::string z;
        std::string channel;
        DumpedPoint point;
        fields >> node >> x >> y >> z >> channel >> channel >> channel >> channel >> point.intensity >>
            point.classification;
        point.coordinates = x + ' ' + y + ' ' + z;
        point.x = std::stod(x);
        point.y = std::stod(y);
        points.push_back(point);
    }
    return points;
}

/// The coordinates of the points in a table with header.
std::multiset<std::string> coordinatesIn(const std::string& table)
{
    std::multiset<std::string> coordinates;
    std::istringstream lines(table);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line))
    {
        std::istringstream fields(line);
        std::string x;
        std::string y;
        std::string z;
        fields >> x >> y >> z;
        coordinates.insert(x + ' ' + y + ' ' + z);
    }
    return coordinates;
}

/// The points nearest to what a picture from above shows, a pixel of which has 2.3 units. A point covers a few.
std::set<std::string> coordinatesSeen(const std::string& table, const std::vector<DumpedPoint>& points)
{
    std::set<std::string> seen;
    for (const std::string& shown : coordinatesIn(table))
    {
        double x = 0.0;
        double y = 0.0;
        std::istringstream(shown) >> x >> y;
        const auto distance = [&](const DumpedPoint& point)
        { return std::max(std::abs(point.x - x), std::abs(point.y - y)); };
        const auto nearest = std::ranges::min_element(points, {}, distance);
        EXPECT_LT(distance(*nearest), 2.5) << shown;
        seen.insert(nearest->coordinates);
    }
    return seen;
}
}  // namespace

TEST(SameFilters, AQueryAPictureAndAScanFindTheSamePoints)
{
    const TemporaryFolder folder;
    const std::vector<DumpedPoint> points = dumped();
    std::multiset<std::string> expected;
    for (const DumpedPoint& point : points)
    {
        if (point.classification == 2 && point.intensity <= 60 && point.x >= 637000.003)
        {
            expected.insert(point.coordinates);
        }
    }
    const std::filesystem::path file = folder.path() / "shown.txt";

    const TarnelRun query = runTarnel(
        {"query", dataSet(kCloud), "--classes", "2", "--intensity", "0,60", "--clip", "1,0,0,-637000.003"}
    );
    const TarnelRun picture = runTarnel(
        {"export-visible",
         text(file),
         "--absolute",
         "--cloud",
         dataSet(kCloud),
         "--classes",
         "2",
         "--intensity",
         "0,60",
         "--clip",
         "1,0,0,-637000.003",
         "--threshold",
         "0",
         "--point-size",
         "100",
         "--max-point-size",
         "2",
         "--size",
         "2048x2048",
         "--ortho",
         "4800",
         "--eye",
         "637301,851217.6,10000",
         "--target",
         "637301,851217.6,0",
         "--up",
         "0,1,0"}
    );

    ASSERT_EQ(query.exitCode, 0) << query.errors;
    ASSERT_EQ(picture.exitCode, 0) << picture.errors;
    EXPECT_GT(expected.size(), 50U);
    EXPECT_LT(expected.size(), points.size() / 2);
    EXPECT_EQ(coordinatesIn(query.output), expected);
    EXPECT_EQ(
        coordinatesSeen(TemporaryFolder::read(file), points),
        std::set<std::string>(expected.begin(), expected.end())
    );
}
