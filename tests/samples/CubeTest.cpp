#include "samples/Cube.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{
using Samples::Cube;
using Samples::enclosingCube;
using Samples::SamplePoint;

TEST(Cube, ChildIndexHasXInItsHighestBit)
{
    const Cube cube{{100, 200, 300}, 16};

    const Cube upperX = cube.child(4);
    const Cube upperZ = cube.child(1);

    EXPECT_EQ(upperX.min, (Math::Point<double, 3>{108, 200, 300}));
    EXPECT_EQ(upperX.edge, 8);
    EXPECT_EQ(upperZ.min, (Math::Point<double, 3>{100, 200, 308}));
}

TEST(Cube, NodeFollowsThePathFromTheRoot)
{
    const Cube cube{{0, 0, 0}, 16};

    const Cube node = cube.node(Octree::OctreeNodeId::fromName("r62"));

    EXPECT_EQ(node.min, (Math::Point<double, 3>{8, 12, 0}));
    EXPECT_EQ(node.edge, 4);
}

TEST(Cube, EnclosesPointsWithItsLongestEdge)
{
    const std::vector<SamplePoint> points{{.x = 1, .y = 5, .z = -2}, {.x = 4, .y = 15, .z = 3}};

    const Cube cube = enclosingCube(points);

    EXPECT_EQ(cube.min, (Math::Point<double, 3>{1, 5, -2}));
    EXPECT_EQ(cube.edge, 10);
}

TEST(Cube, HasAnEdgeAroundASinglePlace)
{
    const std::vector<SamplePoint> points{{.x = 7, .y = 7, .z = 7}};

    EXPECT_EQ(enclosingCube(points).edge, 1);
    EXPECT_EQ(enclosingCube({}).edge, 1);
}
}  // namespace
