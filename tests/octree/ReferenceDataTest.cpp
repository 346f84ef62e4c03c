#include "octree/Octree.h"
#include "octree/potree/PoTreeTree.h"
#include "tests/support/sha256.h"
#include "tests/support/testData.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <span>
#include <string>
#include <vector>

// Compares what is read from real data sets with values that another reader found in them.
namespace
{
using nlohmann::json;
using Octree::NodePointData;
using Octree::OctreeNodeId;

std::filesystem::path dataSet(const std::string& name)
{
    return testData() / name;
}

json referenceOf(const std::string& name)
{
    return json::parse(std::ifstream(dataSet(name) / "reference.json"));
}

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

class ReferenceData : public testing::TestWithParam<std::string>
{
protected:
    json reference = referenceOf(GetParam());
    Octree::Octree octree{Octree::Location::fromPath(dataSet(GetParam())), 1.0};

    double scale(std::size_t axis) const { return reference["scale"][axis].get<double>(); }

    // relative coordinate = stored integer x scale
    std::int64_t storedInteger(double relative, std::size_t axis) const
    {
        return std::llround(relative / scale(axis));
    }
};

TEST_P(ReferenceData, NodesAndPointsPerLevelAreThoseOfTheHierarchy)
{
    std::vector<std::size_t> nodesPerLevel;
    std::vector<std::uint64_t> pointsPerLevel;
    std::size_t nodes = 0;

    for (const OctreeNodeId& id : allNodes(octree))
    {
        const std::size_t level = octree.level(id);
        nodesPerLevel.resize(std::max(nodesPerLevel.size(), level + 1));
        pointsPerLevel.resize(nodesPerLevel.size());
        ++nodesPerLevel[level];
        pointsPerLevel[level] += octree.nodeInfo(id).pointCount;
        ++nodes;
    }

    EXPECT_EQ(nodes, reference["nodes"].get<std::size_t>());
    EXPECT_EQ(nodesPerLevel, reference["nodes_per_level"].get<std::vector<std::size_t>>());
    EXPECT_EQ(pointsPerLevel, reference["points_per_level"].get<std::vector<std::uint64_t>>());
}

TEST_P(ReferenceData, EveryRecordIsReadAsItStands)
{
    const PoTree::PoTreeTree tree{PoTree::FileSystemLocation(dataSet(GetParam()))};

    for (const auto& [name, record] : reference["all_nodes"].items())
    {
        const auto node = tree.findNode(OctreeNodeId::fromName(name), {});

        ASSERT_NE(node, nullptr) << name;
        EXPECT_EQ(static_cast<unsigned>(node->type), record[0].get<unsigned>()) << name;
        EXPECT_EQ(node->childMask, record[1].get<unsigned>()) << name;
        EXPECT_EQ(node->pointCount, record[2].get<unsigned>()) << name;
        EXPECT_EQ(node->byteOffset, record[3].get<std::uint64_t>()) << name;
        EXPECT_EQ(node->byteSize, record[4].get<std::uint64_t>()) << name;
        EXPECT_EQ(node->id.name(), name);
    }
}

TEST_P(ReferenceData, CubesAndSpacingsOfNodesAreHalvedLevelByLevel)
{
    const PoTree::PoTreeTree tree{PoTree::FileSystemLocation(dataSet(GetParam()))};

    for (const auto& [name, sample] : reference["node_samples"].items())
    {
        const OctreeNodeId id = OctreeNodeId::fromName(name);
        const auto node = tree.findNode(id, {});
        const Math::NBoundingBox<float, 3> cube = octree.boundingCube(id);
        const Math::Point<double, 3> origin = octree.position();
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            const auto min = sample["box_min"][axis].get<double>();
            const auto max = sample["box_max"][axis].get<double>();
            EXPECT_DOUBLE_EQ(node->boundingBox.min()[axis], min) << name;
            EXPECT_DOUBLE_EQ(node->boundingBox.max()[axis], max) << name;
            // 1e-8: the decimal coordinates are near 1e6, where a double resolves 1e-10
            EXPECT_NEAR(
                cube.min()[axis], static_cast<float>(min - origin[axis]), 1e-8F + cube.max()[axis] * 1e-7F
            );
            EXPECT_NEAR(
                cube.max()[axis], static_cast<float>(max - origin[axis]), 1e-8F + cube.max()[axis] * 1e-7F
            );
        }
        EXPECT_FLOAT_EQ(octree.spacing(id.level()), sample["spacing"].get<float>()) << name;
    }
}

TEST_P(ReferenceData, FirstAndLastPointOfSampledNodesAreExact)
{
    const Math::Point<double, 3> origin = octree.position();
    NodePointData data;

    for (const auto& [name, sample] : reference["node_samples"].items())
    {
        if (sample["points"].get<std::size_t>() == 0)
        {
            continue;
        }
        ASSERT_TRUE(octree.readNodePointData(OctreeNodeId::fromName(name), data));
        ASSERT_EQ(data.size(), sample["points"].get<std::size_t>());
        for (const char* which : {"first", "last"})
        {
            const json& point = sample[which];
            const auto i = point["index"].get<std::size_t>();
            EXPECT_EQ(data.position(i).x + origin.x, point["position"][0].get<double>()) << name;
            EXPECT_EQ(data.position(i).y + origin.y, point["position"][1].get<double>()) << name;
            EXPECT_EQ(data.position(i).z + origin.z, point["position"][2].get<double>()) << name;
            EXPECT_EQ(data.columns().intensities[i], point["intensity"].get<unsigned>()) << name;
            EXPECT_EQ(data.columns().classifications[i], point["classification"].get<unsigned>()) << name;
            if (point.contains("rgb"))
            {
                const Math::Color color = data.columns().colors[i];
                EXPECT_EQ(color.r(), point["rgb"][0].get<unsigned>()) << name;
                EXPECT_EQ(color.g(), point["rgb"][1].get<unsigned>()) << name;
                EXPECT_EQ(color.b(), point["rgb"][2].get<unsigned>()) << name;
                EXPECT_EQ(color.a(), 255U) << name;
            }
        }
    }
}

TEST_P(ReferenceData, SumsAndTheHashOverAllPointsAgree)
{
    const bool colored = reference.contains("rgb_sum");
    std::vector<std::array<std::int64_t, 6>> rows;
    std::array<std::int64_t, 3> integerSum{};
    std::int64_t intensitySum = 0;
    std::map<std::string, std::int64_t> classes;

    NodePointData data;
    for (const OctreeNodeId& id : allNodes(octree))
    {
        ASSERT_TRUE(octree.readNodePointData(id, data)) << id.name();
        for (std::size_t i = 0; i < data.size(); ++i)
        {
            std::array<std::int64_t, 6> row{};
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                row[axis] = storedInteger(data.position(i)[axis], axis);
                integerSum[axis] += row[axis];
            }
            if (colored)
            {
                const Math::Color color = data.columns().colors[i];
                row[3] = color.r();
                row[4] = color.g();
                row[5] = color.b();
            }
            rows.push_back(row);
            intensitySum += data.columns().intensities[i];
            ++classes[std::to_string(data.columns().classifications[i])];
        }
    }
    std::sort(rows.begin(), rows.end());

    EXPECT_EQ(rows.size(), reference["points_decoded"].get<std::size_t>());
    EXPECT_EQ(integerSum, (reference["int_sum"].get<std::array<std::int64_t, 3>>()));
    EXPECT_EQ(intensitySum, reference["intensity"]["sum"].get<std::int64_t>());
    EXPECT_EQ(classes, (reference["classification"]["histogram"].get<std::map<std::string, std::int64_t>>()));
    EXPECT_EQ(sha256(std::as_bytes(std::span(rows))), reference["sorted_xyzrgb_sha256"].get<std::string>());
}

TEST_P(ReferenceData, FactsOfTheDataSetAreThoseOfItsMetadata)
{
    const std::vector<Octree::AttributeInfo> attributes = octree.attributes();
    std::vector<std::string> names;
    for (const Octree::AttributeInfo& attribute : attributes)
    {
        names.push_back(attribute.name);
    }

    EXPECT_EQ(octree.kind(), Octree::Kind::PoTree);
    EXPECT_EQ(octree.encoding(), reference["encoding"].get<std::string>());
    EXPECT_EQ(names, reference["attribute_names"].get<std::vector<std::string>>());
    EXPECT_EQ(octree.intensityRange().first, reference["intensity"]["min"].get<unsigned>());
    EXPECT_EQ(octree.intensityRange().second, reference["intensity"]["max"].get<unsigned>());
    const Math::NBoundingBox<double, 3> cube = octree.absoluteBoundingCube();
    const Math::NBoundingBox<double, 3> bounds = octree.absoluteBoundingBox();
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        EXPECT_EQ(octree.position()[axis], reference["offset"][axis].get<double>());
        EXPECT_DOUBLE_EQ(cube.min()[axis], reference["bounding_cube"]["min"][axis].get<double>());
        EXPECT_DOUBLE_EQ(cube.max()[axis], reference["bounding_cube"]["max"][axis].get<double>());
        // the range that the converter declares and the stored points differ by up to one unit
        EXPECT_NEAR(bounds.min()[axis], reference["position_min"][axis].get<double>(), 1.5 * scale(axis));
        EXPECT_NEAR(bounds.max()[axis], reference["position_max"][axis].get<double>(), 1.5 * scale(axis));
    }
}

INSTANTIATE_TEST_SUITE_P(
    DataSets,
    ReferenceData,
    testing::Values("test14_brotli", "autzen_brotli", "autzen_default", "lonestar_brotli")
);

TEST(ReferenceDataSha256, MatchesThePublishedDigestOfThreeLetters)
{
    const std::string text = "abc";

    EXPECT_EQ(
        sha256(std::as_bytes(std::span(text))),
        "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"
    );
}
}  // namespace
