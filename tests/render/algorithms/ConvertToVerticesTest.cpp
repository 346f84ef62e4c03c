#include "render/gpu/VertexContainer.h"
#include "render/pointcloud/convertToVertices.h"

#include <gtest/gtest.h>

namespace Render
{
namespace
{
Octree::NodePointData threePoints()
{
    Octree::NodePointData points;
    points.columns().pointCount = 3;
    points.columns().positions = {{0.1, 2.0, -3.0}, {4.0, 5.0, 6.0}, {7.0, 8.0, 16777217.0}};
    points.columns().colors = {Math::Color(1, 2, 3, 4), Math::Color(5, 6, 7, 8), Math::Color(9, 10, 11, 12)};
    points.columns().intensities = {0x01FF, 0x00FF, 0xFFFF};
    points.columns().classifications = {2, 6, 255};
    points.columns().scanIndices = {7, 0x12345, 0xFFFFFFFF};
    return points;
}
}  // namespace

TEST(ConvertToVertices, TakesEveryAttributeOfAPoint)
{
    VertexContainer vertices;

    convertToVertices(threePoints(), vertices);

    ASSERT_EQ(vertices.size(), 3U);
    const VertexContainer::Vertex& first = vertices.data()[0];
    EXPECT_EQ(first.position, (Math::Point<float, 3>(0.1F, 2.0F, -3.0F)));
    EXPECT_EQ(first.color, Math::Color(1, 2, 3, 4));
    EXPECT_EQ(first.intensity, 1);
    EXPECT_EQ(first.classIndex, 2);
    EXPECT_EQ(first.scanIndex, 7);
    const VertexContainer::Vertex& last = vertices.data()[2];
    EXPECT_EQ(last.position, (Math::Point<float, 3>(7.0F, 8.0F, 16777216.0F)));
    EXPECT_EQ(last.color, Math::Color(9, 10, 11, 12));
    EXPECT_EQ(last.intensity, 255);
    EXPECT_EQ(last.classIndex, 255);
}

TEST(ConvertToVertices, ScanIndexKeepsItsLow16Bits)
{
    VertexContainer vertices;

    convertToVertices(threePoints(), vertices);

    EXPECT_EQ(vertices.data()[1].scanIndex, 0x2345);
    EXPECT_EQ(vertices.data()[2].scanIndex, 0xFFFF);
}

TEST(ConvertToVertices, AbsentAttributesAreZeroAndTheColorWhite)
{
    Octree::NodePointData points = threePoints();
    points.columns().colors.clear();
    points.columns().intensities.clear();
    points.columns().classifications.clear();
    points.columns().scanIndices.clear();
    VertexContainer vertices;

    convertToVertices(points, vertices);

    ASSERT_EQ(vertices.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(vertices.data()[i].color, Math::Color::white(255));
        EXPECT_EQ(vertices.data()[i].intensity, 0);
        EXPECT_EQ(vertices.data()[i].classIndex, 0);
        EXPECT_EQ(vertices.data()[i].scanIndex, 0);
    }
    EXPECT_EQ(vertices.data()[1].position, (Math::Point<float, 3>(4.0F, 5.0F, 6.0F)));
}

TEST(ConvertToVertices, HiddenPointsAreDropped)
{
    Octree::NodePointData points = threePoints();
    points.columns().visibilities = {0, 1, 0};
    VertexContainer vertices;

    convertToVertices(points, vertices);

    ASSERT_EQ(vertices.size(), 2U);
    EXPECT_EQ(vertices.data()[0].classIndex, 2);
    EXPECT_EQ(vertices.data()[1].classIndex, 255);
}

TEST(ConvertToVertices, NodeOfHiddenPointsIsEmpty)
{
    Octree::NodePointData points = threePoints();
    points.columns().visibilities = {1, 1, 2};
    VertexContainer vertices;

    convertToVertices(points, vertices);

    EXPECT_EQ(vertices.size(), 0U);
}

TEST(ConvertToVertices, ReplacesWhatTheContainerHeld)
{
    VertexContainer vertices;
    vertices.resize(9);
    vertices.setVisibility(0, 1);

    convertToVertices(threePoints(), vertices);
    vertices.complete();

    EXPECT_EQ(vertices.size(), 3U);
}

TEST(ConvertToVertices, NodeWithoutPointsIsEmpty)
{
    VertexContainer vertices;
    vertices.resize(9);

    convertToVertices(Octree::NodePointData(), vertices);

    EXPECT_EQ(vertices.size(), 0U);
}
}  // namespace Render
