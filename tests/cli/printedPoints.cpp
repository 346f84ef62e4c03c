#include "tests/cli/printedPoints.h"

#include "tests/cli/runTarnel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>

std::vector<PrintedPoint> dumpAll(const std::string& name)
{
    const TarnelRun run = runTarnel({"dump", dataSet(name), "--all"});
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    std::vector<PrintedPoint> points;
    std::istringstream stream(run.output);
    std::string line;
    while (std::getline(stream, line))
    {
        std::istringstream fields(line);
        std::string node;
        PrintedPoint point;
        fields >> node >> point.position.x() >> point.position.y() >> point.position.z() >> point.color[0] >>
            point.color[1] >> point.color[2] >> point.color[3];
        EXPECT_FALSE(fields.fail()) << line;
        point.level = node.size() - 1;
        points.push_back(point);
    }
    return points;
}

std::vector<PrintedPoint> parsePointText(const std::string& content)
{
    std::istringstream stream(content);
    std::string line;
    std::getline(stream, line);
    EXPECT_TRUE(line.starts_with(kPointTextHeader)) << line;  // what else the points have may follow
    std::vector<PrintedPoint> points;
    while (std::getline(stream, line))
    {
        std::istringstream fields(line);
        PrintedPoint point;
        fields >> point.position.x() >> point.position.y() >> point.position.z() >> point.color[0] >>
            point.color[1] >> point.color[2] >> point.color[3];
        EXPECT_FALSE(fields.fail()) << line;
        points.push_back(point);
    }
    return points;
}

std::vector<PrintedPoint> pointsWhere(
    const std::vector<PrintedPoint>& points, const std::function<bool(const PrintedPoint&)>& isWanted
)
{
    std::vector<PrintedPoint> result;
    std::copy_if(points.begin(), points.end(), std::back_inserter(result), isWanted);
    return result;
}

void expectSamePoints(
    const std::vector<PrintedPoint>& actual, const std::vector<PrintedPoint>& expected, double tolerance
)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i)
    {
        ASSERT_LE((actual[i].position - expected[i].position).cwiseAbs().maxCoeff(), tolerance) << i;
        ASSERT_EQ(actual[i].color, expected[i].color) << i;
    }
}
