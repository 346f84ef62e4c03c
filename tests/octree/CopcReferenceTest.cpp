#include "core/MemoryFolder.h"
#include "octree/NodeCell.h"
#include "octree/Octree.h"
#include "tests/support/memoryCopy.h"
#include "tests/support/sha256.h"
#include "tests/support/testData.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

// Compares what is read from a real COPC file with values that another reader found in it.
namespace
{
using nlohmann::json;
using Octree::NodePointData;
using Octree::OctreeNodeId;

const std::filesystem::path kFolder = testData() / "copc_color12";

std::vector<OctreeNodeId> allNodes(const Octree::Octree& octree)
{
    std::vector<OctreeNodeId> nodes{octree.root()};
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        const Octree::OctreeChildNodeIdRange children = octree.children(nodes[i]);
        nodes.insert(nodes.end(), children.begin(), children.end());
    }
    return nodes;
}

class CopcReference : public testing::Test
{
protected:
    const json reference = json::parse(std::ifstream(kFolder / "reference.json"));
    const Octree::Octree octree{Octree::Location::fromPath(kFolder / "color12.copc.laz"), 1.0};
};

TEST_F(CopcReference, FactsAreThoseOfTheHeaders)
{
    const Math::NBoundingBox<double, 3> cube = octree.absoluteBoundingCube();
    const Math::NBoundingBox<double, 3> bounds = octree.absoluteBoundingBox();

    EXPECT_EQ(octree.kind(), Octree::Kind::Copc);
    EXPECT_EQ(octree.name(), "color12");
    EXPECT_EQ(octree.encoding(), "laszip");
    EXPECT_EQ(octree.spacing(0), reference["spacing"].get<float>());
    EXPECT_EQ(octree.spacing(3), reference["spacing"].get<float>() / 8);
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        EXPECT_EQ(octree.position()[axis], reference["offset"][axis].get<double>());
        EXPECT_EQ(octree.positionStep()[axis], reference["scale"][axis].get<double>());
        EXPECT_EQ(cube.min()[axis], reference["bounding_cube"]["min"][axis].get<double>());
        EXPECT_EQ(cube.max()[axis], reference["bounding_cube"]["max"][axis].get<double>());
        EXPECT_EQ(bounds.min()[axis], reference["header_min"][axis].get<double>());
        EXPECT_EQ(bounds.max()[axis], reference["header_max"][axis].get<double>());
    }
}

TEST_F(CopcReference, AttributesAreTheFieldsOfTheRecordWithTheRangesThatTheFileStates)
{
    const std::vector<Octree::AttributeInfo> attributes = octree.attributes();
    std::uint64_t length = 0;
    for (const Octree::AttributeInfo& attribute : attributes)
    {
        length += attribute.sizeInBytes;
        const bool isStated = std::set<std::string>{"X", "Y", "Z", "GpsTime"}.contains(attribute.name);
        EXPECT_EQ(attribute.min.size(), isStated ? 1U : 0U) << attribute.name;
    }

    EXPECT_EQ(length, reference["record_length"].get<std::uint64_t>());
    const auto time = std::ranges::find(attributes, "GpsTime", &Octree::AttributeInfo::name);
    ASSERT_NE(time, attributes.end());
    EXPECT_EQ(time->min, std::vector{reference["gpstime"][0].get<double>()});
    EXPECT_EQ(time->max, std::vector{reference["gpstime"][1].get<double>()});
    EXPECT_EQ(
        octree.attributeMask(),
        Octree::kPositionAttribute | Octree::kColorAttribute | Octree::kIntensityAttribute |
            Octree::kClassificationAttribute | Octree::kScanIndexAttribute
    );
}

TEST_F(CopcReference, NodesAndPointsPerLevelAreThoseOfTheHierarchy)
{
    std::vector<std::uint64_t> nodes(4);
    std::vector<std::uint64_t> points(4);
    for (const OctreeNodeId& id : allNodes(octree))
    {
        ASSERT_LT(id.level(), nodes.size());
        ++nodes[id.level()];
        points[id.level()] += octree.nodeInfo(id).pointCount;
    }

    EXPECT_EQ(nodes, reference["nodes_per_level"].get<std::vector<std::uint64_t>>());
    EXPECT_EQ(points, reference["points_per_level"].get<std::vector<std::uint64_t>>());
}

TEST_F(CopcReference, FirstAndLastPointOfSampledNodesAreThoseOfTheReference)
{
    NodePointData data;
    for (const auto& [name, sample] : reference["node_samples"].items())
    {
        const OctreeNodeId id = OctreeNodeId::fromName(name);
        const Octree::NodeCell cell = Octree::nodeCell(id);
        ASSERT_TRUE(octree.readNodePointData(id, data));
        ASSERT_EQ(data.size(), sample["points"].get<std::size_t>()) << name;
        EXPECT_EQ(
            (std::array{cell.level, cell.place[0], cell.place[1], cell.place[2]}),
            (sample["key"].get<std::array<std::uint32_t, 4>>())
        );
        for (const auto& [which, i] :
             {std::pair("first", std::size_t{0}), std::pair("last", data.size() - 1)})
        {
            const json& point = sample[which];
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                EXPECT_NEAR(  // hundredths, as the reference writes them
                    data.position(i)[axis] + octree.position()[axis],
                    point["xyz"][axis].get<double>(),
                    1e-6
                ) << name;
            }
            EXPECT_EQ(data.columns().intensities[i], point["intensity"].get<unsigned>()) << name;
            EXPECT_EQ(data.columns().classifications[i], point["classification"].get<unsigned>()) << name;
            EXPECT_EQ(data.columns().scanIndices[i], point["point_source_id"].get<unsigned>()) << name;
            const Math::Color color = data.columns().colors[i];
            EXPECT_EQ(
                (std::array<unsigned, 3>{color.r(), color.g(), color.b()}),
                (point["rgb"].get<std::array<unsigned, 3>>())
            ) << name;
        }
    }
}

TEST_F(CopcReference, TheHashOverAllPointsAgrees)
{
    std::vector<std::array<std::int64_t, 7>> rows;  // x, y, z, red, green, blue, intensity
    std::map<std::string, std::int64_t> classes;
    NodePointData data;
    for (const OctreeNodeId& id : allNodes(octree))
    {
        ASSERT_TRUE(octree.readNodePointData(id, data)) << id.name();
        for (std::size_t i = 0; i < data.size(); ++i)
        {
            std::array<std::int64_t, 7>& row = rows.emplace_back();
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                row[axis] = std::llround(data.position(i)[axis] / octree.positionStep()[axis]);
            }
            const Math::Color color = data.columns().colors[i];
            row[3] = color.r();
            row[4] = color.g();
            row[5] = color.b();
            row[6] = data.columns().intensities[i];
            ++classes[std::to_string(data.columns().classifications[i])];
        }
    }
    std::ranges::sort(rows);

    EXPECT_EQ(rows.size(), reference["points"].get<std::size_t>());
    EXPECT_EQ(classes, (reference["classification_histogram"].get<std::map<std::string, std::int64_t>>()));
    EXPECT_EQ(
        sha256(std::as_bytes(std::span(rows))),
        reference["sorted_ints_rgb_intensity_sha256"].get<std::string>()
    );
}

TEST_F(CopcReference, IntensitiesRangeAsTheRootsPointsDo)
{
    NodePointData data;
    ASSERT_TRUE(octree.readNodePointData(octree.root(), data));
    const auto [min, max] = std::ranges::minmax(data.columns().intensities);

    EXPECT_EQ(octree.intensityRange(), std::pair(min, max));
    EXPECT_LT(min, max);
}

TEST_F(CopcReference, PointsLieInTheCubesOfTheirNodes)
{
    NodePointData data;
    for (const OctreeNodeId& id : allNodes(octree))
    {
        const Math::NBoundingBox<float, 3> cube = octree.boundingCube(id);
        ASSERT_TRUE(octree.readNodePointData(id, data));
        for (std::size_t i = 0; i < data.size(); ++i)
        {
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                ASSERT_GE(data.position(i)[axis], cube.min()[axis] - 0.015) << id.name();
                ASSERT_LE(data.position(i)[axis], cube.max()[axis] + 0.015) << id.name();
            }
        }
    }
}

TEST_F(CopcReference, AFileThatIsNotLocalReadsTheSame)
{
    const Octree::Octree inMemory(Octree::Location::fromFile(memoryCopy(kFolder), "color12.copc.laz"), 1.0);
    NodePointData expected;
    NodePointData actual;

    EXPECT_EQ(inMemory.kind(), Octree::Kind::Copc);
    for (const OctreeNodeId& id : allNodes(octree))
    {
        ASSERT_TRUE(octree.readNodePointData(id, expected));
        ASSERT_TRUE(inMemory.readNodePointData(id, actual));
        EXPECT_TRUE(actual.columns().positions == expected.columns().positions);
        EXPECT_TRUE(actual.columns().colors == expected.columns().colors);
    }
}
}  // namespace
