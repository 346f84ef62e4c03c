#include "octree/Octree.h"
#include "samples/CopcWriter.h"
#include "samples/EptWriter.h"
#include "samples/OctreeWriter.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

// One cloud, written in every kind of data set, must read the same.
namespace
{
using Octree::OctreeNodeId;
using Samples::SamplePoint;

constexpr std::size_t kPoints = 20000;
const Samples::Cube kCube{{637000, 5211000, 400}, 64};

/// Points on a grid of millimetres, so that no kind of data set rounds them.
std::vector<SamplePoint> cloud()
{
    std::uint32_t state = 1;
    const auto next = [&state](std::uint32_t below)
    {
        state = state * 1664525U + 1013904223U;
        return (state >> 8U) % below;
    };
    std::vector<SamplePoint> points(kPoints);
    for (SamplePoint& point : points)
    {
        point.x = kCube.min.x + next(64000) * 0.001;
        point.y = kCube.min.y + next(64000) * 0.001;
        point.z = kCube.min.z + next(64000) * 0.001;
        point.r = static_cast<std::uint16_t>(next(65536));
        point.g = static_cast<std::uint16_t>(next(65536));
        point.b = static_cast<std::uint16_t>(next(65536));
        point.intensity = static_cast<std::uint16_t>(next(65536));
        point.classification = static_cast<std::uint8_t>(next(32));
        point.scanIndex = next(1000);
    }
    return points;
}

/// Millimetres from the cube's minimum, packed colour, intensity, class, scan index.
using Row = std::array<std::int64_t, 7>;
using Nodes = std::map<std::string, std::vector<Row>>;

void addNodes(const Octree::Octree& octree, const OctreeNodeId& id, Nodes& nodes)
{
    Octree::NodePointData data;
    ASSERT_TRUE(octree.readNodePointData(id, data));
    std::vector<Row>& rows = nodes[id.name()];
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        Row& row = rows.emplace_back();
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            const double absolute = data.position(i)[axis] + octree.position()[axis];
            row[axis] = std::llround((absolute - kCube.min[axis]) * 1000);
        }
        row[3] = data.color(i);
        row[4] = data.columns().intensities[i];
        row[5] = data.columns().classifications[i];
        row[6] = data.columns().scanIndices[i];
    }
    std::ranges::sort(rows);
    for (const OctreeNodeId& child : octree.children(id))
    {
        addNodes(octree, child, nodes);
    }
}

Nodes nodesOf(const std::filesystem::path& folder)
{
    const Octree::Octree octree(Octree::Location::fromPath(folder), 1.0);
    Nodes nodes;
    addNodes(octree, octree.root(), nodes);
    return nodes;
}

Nodes asThreeFiles()
{
    const TemporaryFolder folder;
    const Samples::OctreeWriterOptions options{
        .attributes =
            {Samples::Attribute::Position,
             Samples::Attribute::Rgb,
             Samples::Attribute::Intensity,
             Samples::Attribute::Classification,
             Samples::Attribute::ScanIndex},
        .cube = kCube,
        .leafCapacity = 500,
        .threadCount = 1,
    };
    Samples::writeOctree(folder.path(), cloud(), options);
    Nodes nodes = nodesOf(folder.path());
    EXPECT_GT(nodes.size(), 8U);  // a cloud of one node would compare little
    return nodes;
}

class SameCloud : public testing::TestWithParam<Samples::EptDataType>
{
protected:
    TemporaryFolder folder;

    Samples::EptWriterOptions options() const
    {
        return {.dataType = GetParam(), .cube = kCube, .leafCapacity = 500, .threadCount = 1};
    }
};

TEST_P(SameCloud, TilesReadLikeThreeFiles)
{
    Samples::writeEpt(folder.path(), cloud(), options());

    EXPECT_TRUE(nodesOf(folder.path()) == asThreeFiles());
}

TEST_P(SameCloud, HierarchyFilesOfFewLevelsReadLikeOne)
{
    Samples::EptWriterOptions split = options();
    split.hierarchyStep = 1;
    Samples::writeEpt(folder.path(), cloud(), split);

    EXPECT_TRUE(nodesOf(folder.path()) == asThreeFiles());
}

TEST_P(SameCloud, StatisticsAndSizesInFramesChangeNothing)
{
    Samples::EptWriterOptions rich = options();
    rich.hasStatistics = true;
    rich.hasContentSize = true;
    Samples::writeEpt(folder.path(), cloud(), rich);
    const Octree::Octree octree(Octree::Location::fromPath(folder.path()), 1.0);

    Nodes nodes;
    addNodes(octree, octree.root(), nodes);
    EXPECT_TRUE(nodes == asThreeFiles());
    const std::vector<SamplePoint> points = cloud();
    const auto range = std::ranges::minmax_element(points, {}, &SamplePoint::intensity);
    EXPECT_EQ(octree.intensityRange().first, range.min->intensity);
    EXPECT_EQ(octree.intensityRange().second, range.max->intensity);
}

TEST_P(SameCloud, CoordinatesAsAbsoluteDoublesAreRelativeToTheCube)
{
    Samples::EptWriterOptions doubles = options();
    doubles.schema = Samples::defaultEptSchema(kCube.min);
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        doubles.schema[axis] = {doubles.schema[axis].name, Samples::EptType::Float, 8};
    }
    Samples::writeEpt(folder.path(), cloud(), doubles);

    EXPECT_EQ(Octree::Octree(Octree::Location::fromPath(folder.path()), 1.0).position(), kCube.min);
    EXPECT_TRUE(nodesOf(folder.path()) == asThreeFiles());
}

class SameCloudInOneFile : public testing::TestWithParam<unsigned>
{
};

TEST_P(SameCloudInOneFile, ChunksReadLikeThreeFiles)
{
    const TemporaryFolder folder;
    const Samples::CopcWriterOptions options{
        .cube = kCube, .hierarchyStep = GetParam(), .leafCapacity = 500, .threadCount = 1};
    Samples::writeCopc(folder.path() / "x.copc.laz", cloud(), options);

    EXPECT_TRUE(nodesOf(folder.path() / "x.copc.laz") == asThreeFiles());
}

INSTANTIATE_TEST_SUITE_P(LevelsOfAPage, SameCloudInOneFile, testing::Values(0U, 1U, 2U));

INSTANTIATE_TEST_SUITE_P(
    DataTypes, SameCloud, testing::Values(Samples::EptDataType::Binary, Samples::EptDataType::Zstandard)
);
}  // namespace
