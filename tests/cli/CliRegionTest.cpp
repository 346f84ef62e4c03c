// Regions of "query": what they hold, and which files and numbers are refused.
#include "tests/cli/printedPoints.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

namespace
{
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr double kRounding = 0.0;  // none

std::string autzen()
{
    return dataSet("autzen_brotli");
}

/// A line of so many characters, built bit by bit: GCC 12 warns where it knows the length.
std::string comment(std::size_t length)
{
    std::string line;
    while (line.size() < length)
    {
        line += '#';
    }
    return line + "\n";
}

/// What "query" says about a polygon's file.
std::string polygonError(const std::string& content)
{
    const TemporaryFolder folder;
    const std::string file = text(folder.write("polygon.txt", content));
    const TarnelRun run = runTarnel({"query", autzen(), "--polygon", file, "--z", "0,1"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, StartsWith("tarnel: error: "));
    EXPECT_THAT(run.errors, HasSubstr("polygon.txt: "));
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20U; };
    EXPECT_EQ(std::count_if(run.errors.begin(), run.errors.end(), isControl), 1) << run.errors;
    return run.errors;
}
}  // namespace

TEST(CliRegion, AnOrientedBoxYieldsThePointsThatADumpHasThere)
{
    // Full sizes of 200, 60 and 40, turned by 30 degrees from x towards y.
    const std::vector<PrintedPoint> all = dumpAll("autzen_brotli");
    const double cosine = std::sqrt(3.0) / 2.0;
    const double sine = 0.5;

    const TarnelRun run = runTarnel(
        {"query", autzen(), "--oriented-box", "636500.0031,849200.0017,430.003,200.0013,60.0019,40.0011,30"}
    );

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    const auto expected = pointsWhere(
        all,
        [&](const PrintedPoint& point)
        {
            const Eigen::Vector3d p = point.position - Eigen::Vector3d(636500.0031, 849200.0017, 430.003);
            return std::abs(cosine * p.x() + sine * p.y()) <= 200.0013 / 2 &&
                   std::abs(cosine * p.y() - sine * p.x()) <= 60.0019 / 2 && std::abs(p.z()) <= 40.0011 / 2;
        }
    );
    EXPECT_GT(expected.size(), 300U);
    expectSamePoints(parsePointText(run.output), expected, kRounding);
}

TEST(CliRegion, PlanesLeaveTheDataSetAfterThemAlone)
{
    const std::vector<std::string> planes{"1,0,0,-636600.003", "0,1,0,-849200.003"};

    const TarnelRun before =
        runTarnel({"query", autzen(), "--clip", planes[0], "--clip", planes[1], "--max-level", "1"});
    const TarnelRun after =
        runTarnel({"query", "--max-level", "1", "--planes", "1,0,0,-636600.003,0,1,0,-849200.003", autzen()});

    ASSERT_EQ(before.exitCode, 0) << before.errors;
    ASSERT_EQ(after.exitCode, 0) << after.errors;
    EXPECT_EQ(after.output, before.output);
    EXPECT_THAT(after.errors, HasSubstr("--planes is now --clip"));
    EXPECT_THAT(before.errors, testing::Not(HasSubstr("is now")));
    EXPECT_GT(parsePointText(after.output).size(), 300U);
}

TEST(CliRegion, AnEndlessLineOfAPolygonIsRefusedUnread)
{
    EXPECT_THAT(polygonError(comment(1001)), HasSubstr("line 1 has more than 1000 characters"));
    EXPECT_THAT(polygonError("1 2\n" + comment(5000)), HasSubstr("line 2 has more than 1000 characters"));
    EXPECT_THAT(polygonError(comment(1000)), HasSubstr("there are 0 corners"));
}

TEST(CliRegion, APolygonOfTooManyLinesIsRefused)
{
    std::string content;
    for (int i = 0; i <= 100'000; ++i)
    {
        content += std::to_string(i) + " 0\n";
    }

    EXPECT_THAT(polygonError(content), HasSubstr("there are more than 100000 lines"));
}

TEST(CliRegion, ControlCharactersOfAPolygonDoNotReachTheTerminal)
{
    using namespace std::string_literals;
    const std::string errors = polygonError("1 2\n3 \0\x1b[31mred\r\n"s);

    EXPECT_THAT(errors, HasSubstr("line 2 is '3   [31mred', expected two finite numbers"));
}

TEST(CliRegion, ACornerTooLargeIsNamedWithItsLine)
{
    EXPECT_THAT(
        polygonError("1 2\n3 1e300\n5 6\n"),
        HasSubstr("line 2 is '3 1e300', a number is too large, at most 1e+15 is possible")
    );
}
