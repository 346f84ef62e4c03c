#include "octree/Octree.h"
#include "octree/entwine/nodeKey.h"
#include "octree/entwine/zstdDecode.h"
#include "tests/support/TemporaryFolder.h"
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
#include <iterator>
#include <map>
#include <span>
#include <string>
#include <vector>

// Compares what is read from real Entwine Point Tiles with values that another reader found in them.
namespace
{
using nlohmann::json;
using Octree::NodePointData;
using Octree::OctreeNodeId;

std::filesystem::path dataSet(const std::string& name)
{
    return testData() / name;
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

class EntwineDataSet : public testing::TestWithParam<std::string>
{
protected:
    json reference = json::parse(std::ifstream(dataSet(GetParam()) / "reference.json"));
    Octree::Octree octree{Octree::Location::fromPath(dataSet(GetParam())), 1.0};
};

TEST_P(EntwineDataSet, NodesAndTheirCountsAreThoseOfTheHierarchy)
{
    std::map<std::string, std::uint64_t> nodes;
    for (const OctreeNodeId& id : allNodes(octree))
    {
        nodes[Entwine::nodeKey(id)] = octree.nodeInfo(id).pointCount;
    }

    EXPECT_EQ(nodes, (reference["all_nodes"].get<std::map<std::string, std::uint64_t>>()));
}

TEST_P(EntwineDataSet, FactsAreThoseOfTheDescription)
{
    std::vector<std::string> names;
    for (const Octree::AttributeInfo& attribute : octree.attributes())
    {
        names.push_back(attribute.name);
    }
    const Math::NBoundingBox<double, 3> cube = octree.absoluteBoundingCube();
    const Math::NBoundingBox<double, 3> bounds = octree.absoluteBoundingBox();

    EXPECT_EQ(octree.kind(), Octree::Kind::Entwine);
    EXPECT_EQ(octree.name(), GetParam());
    EXPECT_EQ(octree.encoding(), reference["data_type"].get<std::string>());
    EXPECT_EQ(names, reference["dimension_names"].get<std::vector<std::string>>());
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        EXPECT_EQ(octree.position()[axis], reference["schema_offset"][axis].get<double>());
        EXPECT_EQ(octree.positionStep()[axis], reference["schema_scale"][axis].get<double>());
        EXPECT_EQ(cube.min()[axis], reference["bounding_cube"]["min"][axis].get<double>());
        EXPECT_EQ(cube.max()[axis], reference["bounding_cube"]["max"][axis].get<double>());
        EXPECT_EQ(bounds.min()[axis], reference["bounds_conforming"][axis].get<double>());
        EXPECT_EQ(bounds.max()[axis], reference["bounds_conforming"][axis + 3].get<double>());
    }
}

TEST_P(EntwineDataSet, CubesAndSpacingsOfNodesAreHalvedLevelByLevel)
{
    const Math::Point<double, 3> origin = octree.position();
    for (const auto& [key, sample] : reference["node_samples"].items())
    {
        const OctreeNodeId id = Entwine::parseNodeKey(key).value();
        const Math::NBoundingBox<float, 3> cube = octree.boundingCube(id);
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            const auto min = sample["box_min"][axis].get<double>();
            const auto max = sample["box_max"][axis].get<double>();
            EXPECT_FLOAT_EQ(cube.min()[axis], static_cast<float>(min - origin[axis])) << key;
            EXPECT_FLOAT_EQ(cube.max()[axis], static_cast<float>(max - origin[axis])) << key;
        }
        EXPECT_FLOAT_EQ(octree.spacing(id.level()), sample["spacing"].get<float>()) << key;
    }
}

TEST_P(EntwineDataSet, FirstAndLastPointOfSampledNodesAreExact)
{
    const Math::Point<double, 3> origin = octree.position();
    NodePointData data;
    for (const auto& [key, sample] : reference["node_samples"].items())
    {
        ASSERT_TRUE(octree.readNodePointData(Entwine::parseNodeKey(key).value(), data));
        ASSERT_EQ(data.size(), sample["points"].get<std::size_t>());
        for (const char* which : {"first", "last"})
        {
            const json& point = sample[which];
            const auto i = point["index"].get<std::size_t>();
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                EXPECT_EQ(data.position(i)[axis] + origin[axis], point["position"][axis].get<double>())
                    << key;
            }
            EXPECT_EQ(data.columns().intensities[i], point["intensity"].get<unsigned>()) << key;
            EXPECT_EQ(data.columns().classifications[i], point["classification"].get<unsigned>()) << key;
            if (point.contains("rgb"))
            {
                const Math::Color color = data.columns().colors[i];
                EXPECT_EQ(color.r(), point["rgb"][0].get<unsigned>()) << key;
                EXPECT_EQ(color.g(), point["rgb"][1].get<unsigned>()) << key;
                EXPECT_EQ(color.b(), point["rgb"][2].get<unsigned>()) << key;
            }
        }
    }
}

TEST_P(EntwineDataSet, SumsAndTheHashOverAllPointsAgree)
{
    const bool colored = reference.contains("rgb_sum");
    std::vector<std::array<std::int64_t, 6>> rows;
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
                row[axis] = std::llround(data.position(i)[axis] / octree.positionStep()[axis]);
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
    std::ranges::sort(rows);

    EXPECT_EQ(rows.size(), reference["points_decoded"].get<std::size_t>());
    EXPECT_EQ(intensitySum, reference["intensity"]["sum"].get<std::int64_t>());
    EXPECT_EQ(classes, (reference["classification"]["histogram"].get<std::map<std::string, std::int64_t>>()));
    EXPECT_EQ(sha256(std::as_bytes(std::span(rows))), reference["sorted_xyzrgb_sha256"].get<std::string>());
}

// The zstandard set's rows are those of a binary one, of which there is no copy here because it is large.
TEST(EntwineReference, RowsWithoutTheirFrameReadTheSame)
{
    const TemporaryFolder folder;
    const std::filesystem::path packed = dataSet("ept_ellipsoid_zstandard");
    std::filesystem::copy(packed, folder.path(), std::filesystem::copy_options::recursive);
    json ept = json::parse(std::ifstream(packed / "ept.json"));
    ept["dataType"] = "binary";
    folder.write("ept.json", ept.dump());
    std::ifstream stream(packed / "ept-data" / "0-0-0-0.zst", std::ios::binary);
    const std::string frame{std::istreambuf_iterator<char>(stream), {}};
    std::vector<std::byte> rows;
    ASSERT_TRUE(Entwine::zstdDecode(std::as_bytes(std::span(frame)), 4'400'000, rows, {}));
    folder.write("ept-data/0-0-0-0.bin", {reinterpret_cast<const char*>(rows.data()), rows.size()});
    const Octree::Octree binary(Octree::Location::fromPath(folder.path()), 1.0);
    const Octree::Octree zstandard(Octree::Location::fromPath(packed), 1.0);
    NodePointData actual;
    NodePointData expected;

    ASSERT_TRUE(binary.readNodePointData(binary.root(), actual));
    ASSERT_TRUE(zstandard.readNodePointData(zstandard.root(), expected));

    EXPECT_EQ(binary.encoding(), "binary");
    EXPECT_EQ(actual.size(), 100'000U);
    EXPECT_TRUE(actual.columns().positions == expected.columns().positions);
    EXPECT_TRUE(actual.columns().colors == expected.columns().colors);
    EXPECT_TRUE(actual.columns().intensities == expected.columns().intensities);
}

INSTANTIATE_TEST_SUITE_P(
    DataSets,
    EntwineDataSet,
    testing::Values("ept_lonestar_thin_binary", "ept_ellipsoid_zstandard", "ept_color12_laszip")
);
}  // namespace
