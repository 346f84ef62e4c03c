#include "octree/Octree.h"
#include "samples/OctreeWriter.h"
#include "samples/writeSampleDataset.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <vector>

namespace
{
using Octree::NodePointColumns;
using Octree::NodePointData;
using Octree::OctreeNodeId;
using Samples::Attribute;
using Samples::OctreeEncoding;
using Samples::OctreeSummary;
using Samples::OctreeWriterOptions;
using Samples::SamplePoint;
using Samples::WrittenNode;

/// A cloud in projected coordinates in which each point has its own number as scan index.
std::vector<SamplePoint> numberedCloud(std::uint32_t count)
{
    std::vector<SamplePoint> points(count);
    for (std::uint32_t i = 0; i < count; ++i)
    {
        SamplePoint& point = points[i];
        point.x = 637000 + (i * 7919 % 100003) * 0.001;
        point.y = 5651000 + (i * 104729 % 100019) * 0.001;
        point.z = 250 + (i * 1299709 % 10007) * 0.001;
        point.r = static_cast<std::uint16_t>(i * 31);
        point.g = static_cast<std::uint16_t>(i * 17);
        point.b = static_cast<std::uint16_t>(i);
        point.intensity = static_cast<std::uint16_t>(i * 3);
        point.classification = static_cast<std::uint8_t>(i % 19);
        point.visibility = static_cast<std::uint8_t>(i % 2);
        point.scanIndex = i;
        const std::array<std::array<float, 3>, 3> normals{{{0.6F, 0, 0.8F}, {0, 1, 0}, {0, -0.8F, -0.6F}}};
        point.nx = normals[i % 3][0];
        point.ny = normals[i % 3][1];
        point.nz = normals[i % 3][2];
    }
    return points;
}

struct Case
{
    const char* name;
    OctreeEncoding encoding;
    std::vector<Attribute> attributes;
};

class OctreeReadBack : public testing::TestWithParam<Case>
{
};

TEST_P(OctreeReadBack, GivesEachPointOnceWithAllItsValues)
{
    const TemporaryFolder folder;
    const std::vector<SamplePoint> cloud = numberedCloud(9000);
    OctreeWriterOptions options;
    options.encoding = GetParam().encoding;
    options.attributes = GetParam().attributes;
    options.scale = {0.001, 0.0005, 0.00025};
    options.stepSize = 2;
    options.spacing = 16;
    options.leafCapacity = 200;
    const OctreeSummary summary = Samples::writeOctree(folder.path(), cloud, options);
    ASSERT_GE(summary.proxyCount, 1U);

    const Octree::Octree octree(Octree::Location::fromPath(folder.path()), 1.0);
    std::vector<int> seen(cloud.size());
    for (const WrittenNode& node : summary.nodes)
    {
        EXPECT_EQ(octree.nodeInfo(node.id).pointCount, node.pointCount);
        EXPECT_EQ(octree.nodeInfo(node.id).childMask, node.childMask);
        NodePointData data;
        ASSERT_TRUE(octree.readNodePointData(node.id, data));
        const NodePointColumns& columns = data.columns();
        ASSERT_EQ(columns.pointCount, node.pointCount);
        for (std::size_t i = 0; i < columns.pointCount; ++i)
        {
            const std::uint32_t index = columns.scanIndices.at(i);
            const SamplePoint& point = cloud.at(index);
            ++seen[index];
            EXPECT_NEAR(columns.positions[i].x + octree.position().x, point.x, 0.0005001);
            EXPECT_NEAR(columns.positions[i].y + octree.position().y, point.y, 0.0002501);
            EXPECT_NEAR(columns.positions[i].z + octree.position().z, point.z, 0.0001251);
            EXPECT_EQ(columns.colors[i].r(), point.r >> 8);
            EXPECT_EQ(columns.colors[i].g(), point.g >> 8);
            EXPECT_EQ(columns.colors[i].b(), point.b >> 8);
            EXPECT_EQ(columns.intensities[i], point.intensity);
            EXPECT_EQ(columns.classifications[i], point.classification);
            EXPECT_EQ(columns.visibilities[i], point.visibility);
            EXPECT_NEAR(columns.normals[i].x, point.nx, 0.012);  // half a step of the octahedral grid
            EXPECT_NEAR(columns.normals[i].y, point.ny, 0.012);
            EXPECT_NEAR(columns.normals[i].z, point.nz, 0.012);
        }
    }

    EXPECT_TRUE(std::ranges::all_of(seen, [](int count) { return count == 1; }));
}

INSTANTIATE_TEST_SUITE_P(
    AllEncodings,
    OctreeReadBack,
    testing::Values(
        Case{
            "Brotli",
            OctreeEncoding::Brotli,
            {Attribute::Position,
             Attribute::Rgb,
             Attribute::Intensity,
             Attribute::Classification,
             Attribute::ScanIndex,
             Attribute::Visibility,
             Attribute::NormalOct16}},
        Case{
            "BrotliInAnotherOrder",
            OctreeEncoding::Brotli,
            {Attribute::GpsTime,
             Attribute::NormalZ,
             Attribute::NormalX,
             Attribute::Visibility,
             Attribute::Classification,
             Attribute::ReturnNumber,
             Attribute::Intensity,
             Attribute::ScanIndex,
             Attribute::Rgb,
             Attribute::NormalY,
             Attribute::Position}},
        Case{
            "Rows",
            OctreeEncoding::Default,
            {Attribute::ReturnNumber,
             Attribute::Position,
             Attribute::Visibility,
             Attribute::ScanIndex,
             Attribute::Rgb,
             Attribute::NormalOct16,
             Attribute::Classification,
             Attribute::Intensity}},
        Case{
            "UncompressedRows",
            OctreeEncoding::Uncompressed,
            {Attribute::Position,
             Attribute::Rgb,
             Attribute::Intensity,
             Attribute::Classification,
             Attribute::ScanIndex,
             Attribute::Visibility,
             Attribute::NormalX,
             Attribute::NormalY,
             Attribute::NormalZ}}
    ),
    [](const testing::TestParamInfo<Case>& test) { return test.param.name; }
);

TEST(SampleDatasetReadBack, PointsOfEachNodeLieInItsCube)
{
    const TemporaryFolder folder;
    const OctreeSummary summary = Samples::writeSampleDataset(folder.path(), {.points = 60000});

    const Octree::Octree octree(Octree::Location::fromPath(folder.path()), 1.0);
    std::uint64_t count = 0;
    for (const WrittenNode& node : summary.nodes)
    {
        NodePointData data;
        ASSERT_TRUE(octree.readNodePointData(node.id, data));
        const Math::NBoundingBox<float, 3> box = octree.boundingCube(node.id);
        for (const Math::Point<double, 3>& position : data.columns().positions)
        {
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                EXPECT_GE(position[axis], box.min()[axis] - 0.001);
                EXPECT_LE(position[axis], box.max()[axis] + 0.001);
            }
        }
        count += data.size();
    }
    EXPECT_EQ(count, 60000U);
}
}  // namespace
