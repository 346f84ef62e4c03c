#include "samples/Random.h"
#include "samples/placePoints.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

namespace
{
using Octree::OctreeNodeId;
using Samples::PlacedNode;
using Samples::PlacementOptions;
using Samples::placePoints;
using Samples::Random;
using Samples::SamplePoint;

constexpr std::uint64_t kSeed = 20240817;

/// A wavy sheet in the cube from (0, 0, 0) to (64, 64, 64).
std::vector<SamplePoint> sheet(std::size_t count)
{
    Random random(kSeed);
    std::vector<SamplePoint> points(count);
    for (SamplePoint& point : points)
    {
        point.x = random.between(0, 64);
        point.y = random.between(0, 64);
        point.z = 20 + point.x * point.y / 200 + random.unit();
    }
    return points;
}

PlacementOptions sheetOptions()
{
    return {.cube = {{0, 0, 0}, 64}, .spacing = 2, .leafCapacity = 300, .maxLevel = 10};
}

double squaredDistance(const SamplePoint& a, const SamplePoint& b)
{
    const double x = a.x - b.x;
    const double y = a.y - b.y;
    const double z = a.z - b.z;
    return x * x + y * y + z * z;
}

bool isInner(const std::vector<PlacedNode>& nodes, const OctreeNodeId& id)
{
    return std::ranges::any_of(
        nodes, [&](const PlacedNode& node) { return !node.id.isRoot() && node.id.parent() == id; }
    );
}

TEST(PlacePoints, PutsEachPointIntoExactlyOneNode)
{
    const std::vector<SamplePoint> points = sheet(20000);

    std::vector<int> uses(points.size());
    for (const PlacedNode& node : placePoints(points, sheetOptions()))
    {
        for (const std::uint32_t index : node.points)
        {
            ++uses.at(index);
        }
    }

    EXPECT_TRUE(std::ranges::all_of(uses, [](int count) { return count == 1; }));
}

TEST(PlacePoints, KeepsPointsInTheirNodesCube)
{
    const std::vector<SamplePoint> points = sheet(20000);
    const PlacementOptions options = sheetOptions();

    for (const PlacedNode& node : placePoints(points, options))
    {
        const Samples::Cube cube = options.cube.node(node.id);
        for (const std::uint32_t index : node.points)
        {
            EXPECT_GE(points[index].x, cube.min.x);
            EXPECT_LE(points[index].x, cube.min.x + cube.edge);
            EXPECT_GE(points[index].y, cube.min.y);
            EXPECT_LE(points[index].y, cube.min.y + cube.edge);
            EXPECT_GE(points[index].z, cube.min.z);
            EXPECT_LE(points[index].z, cube.min.z + cube.edge);
        }
    }
}

TEST(PlacePoints, KeepsPointsOfInnerNodesTheLevelsSpacingApart)
{
    const std::vector<SamplePoint> points = sheet(20000);
    const PlacementOptions options = sheetOptions();
    const std::vector<PlacedNode> nodes = placePoints(points, options);

    std::size_t innerNodes = 0;
    for (const PlacedNode& node : nodes)
    {
        if (!isInner(nodes, node.id))
        {
            continue;
        }
        ++innerNodes;
        double spacing = options.spacing;
        for (std::uint64_t level = 0; level < node.id.level(); ++level)
        {
            spacing /= 2;
        }
        for (std::size_t i = 0; i < node.points.size(); ++i)
        {
            for (std::size_t j = 0; j < i; ++j)
            {
                EXPECT_GE(squaredDistance(points[node.points[i]], points[node.points[j]]), spacing * spacing);
            }
        }
    }

    EXPECT_GE(innerNodes, 5U);
}

TEST(PlacePoints, LeavesNoRoomForFurtherPointsInInnerNodes)
{
    const std::vector<SamplePoint> points = sheet(20000);
    const PlacementOptions options = sheetOptions();
    const std::vector<PlacedNode> nodes = placePoints(points, options);

    const PlacedNode& root = nodes.front();
    for (const SamplePoint& point : points)
    {
        const auto isNear = [&](std::uint32_t index)
        { return squaredDistance(points[index], point) < options.spacing * options.spacing; };
        EXPECT_TRUE(std::ranges::any_of(root.points, isNear));
    }
}

TEST(PlacePoints, KeepsInnerNodesAwayFromTheirAncestorsPoints)
{
    const std::vector<SamplePoint> points = sheet(20000);
    const std::vector<PlacedNode> nodes = placePoints(points, sheetOptions());

    const PlacedNode& root = nodes.front();
    const auto child = std::ranges::find_if(
        nodes, [&](const PlacedNode& node) { return node.id.level() == 1 && isInner(nodes, node.id); }
    );
    ASSERT_NE(child, nodes.end());
    const Samples::Cube cube = sheetOptions().cube.node(child->id);
    for (const std::uint32_t own : child->points)
    {
        for (const std::uint32_t above : root.points)
        {
            const SamplePoint& point = points[above];
            const bool isWithin = point.x >= cube.min.x && point.x < cube.min.x + cube.edge &&
                                  point.y >= cube.min.y && point.y < cube.min.y + cube.edge &&
                                  point.z >= cube.min.z && point.z < cube.min.z + cube.edge;
            EXPECT_TRUE(!isWithin || squaredDistance(points[own], point) >= 1.0);
        }
    }
}

TEST(PlacePoints, SplitsNoNodeThatIsWithinTheLeafCapacity)
{
    const std::vector<SamplePoint> points = sheet(300);

    const std::vector<PlacedNode> nodes = placePoints(points, sheetOptions());

    ASSERT_EQ(nodes.size(), 1U);
    EXPECT_EQ(nodes[0].points.size(), 300U);
}

TEST(PlacePoints, KeepsNodesBelowTheDeepestLevelWithinTheLeafCapacity)
{
    const std::vector<SamplePoint> points = sheet(20000);
    const std::vector<PlacedNode> nodes = placePoints(points, sheetOptions());

    for (const PlacedNode& node : nodes)
    {
        EXPECT_TRUE(isInner(nodes, node.id) || node.points.size() <= 300);
    }
}

TEST(PlacePoints, EndsAtTheDeepestLevelWhenAllPointsCoincide)
{
    const std::vector<SamplePoint> points(1000, SamplePoint{.x = 3, .y = 3, .z = 3});
    PlacementOptions options = sheetOptions();
    options.maxLevel = 5;

    const std::vector<PlacedNode> nodes = placePoints(points, options);

    std::size_t count = 0;
    for (const PlacedNode& node : nodes)
    {
        EXPECT_LE(node.id.level(), 5U);
        count += node.points.size();
    }
    EXPECT_EQ(count, 1000U);
}

TEST(PlacePoints, DoesNotDependOnTheNumberOfThreads)
{
    const std::vector<SamplePoint> points = sheet(20000);
    PlacementOptions options = sheetOptions();
    options.threadCount = 1;
    const std::vector<PlacedNode> expected = placePoints(points, options);

    options.threadCount = 4;
    const std::vector<PlacedNode> nodes = placePoints(points, options);

    ASSERT_EQ(nodes.size(), expected.size());
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        EXPECT_EQ(nodes[i].id, expected[i].id);
        EXPECT_EQ(nodes[i].points, expected[i].points);
    }
}

TEST(PlacePoints, MakesNoNodeOfNoPoints)
{
    EXPECT_TRUE(placePoints({}, sheetOptions()).empty());
}

TEST(PlacePoints, TakesPointsOutsideTheCubeIntoTheNearestNode)
{
    const std::vector<SamplePoint> points{{.x = -1e9, .y = 1e9, .z = 0}, {.x = 1, .y = 1, .z = 1}};
    PlacementOptions options = sheetOptions();
    options.leafCapacity = 0;
    options.maxLevel = 1;

    const std::vector<PlacedNode> nodes = placePoints(points, options);

    ASSERT_EQ(nodes.size(), 1U);
    EXPECT_EQ(nodes[0].points.size(), 2U);
}
}  // namespace
