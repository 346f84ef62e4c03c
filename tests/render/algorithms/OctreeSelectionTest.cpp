// Selection and vertices of octrees on disk.

#include "octree/Octree.h"
#include "render/pointcloud/convertToVertices.h"
#include "render/pointcloud/selectNodes.h"
#include "samples/OctreeWriter.h"
#include "tests/render/algorithms/rankOf.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"
#include "tests/support/testData.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

namespace Render
{
namespace
{
using Octree::NodeVisibilityType;
using Octree::OctreeNodeId;
using Names = std::vector<std::string>;

constexpr double kEasting = 6.0e6;
constexpr double kNorthing = 5.0e6;
constexpr double kHeight = 1.0e3;

/// A point at a distance from the corner of a cube far from the origin.
Samples::SamplePoint pointAt(double x, double y, double z)
{
    Samples::SamplePoint point;
    point.x = kEasting + x;
    point.y = kNorthing + y;
    point.z = kHeight + z;
    point.r = 0x1200;
    point.g = 0x3400;
    point.b = 0x5600;
    point.intensity = 0x7890;
    point.classification = 6;
    point.scanIndex = 0x1BCDE;
    return point;
}

std::vector<Samples::SampleNode> someNodes()
{
    Samples::SamplePoint hidden = pointAt(4.0, 5.0, 6.0);
    hidden.visibility = 1;
    return {
        {.name = "r", .points = {pointAt(1.234, 2.345, 3.456), hidden, pointAt(60.0, 61.0, 62.5)}},
        {.name = "r0", .points = {pointAt(8.0, 9.0, 10.0)}},
        {.name = "r03", .points = {pointAt(1.0, 20.0, 21.0)}},
        {.name = "r3", .points = {pointAt(1.0, 33.0, 34.0)}, .flags = 2},
        {.name = "r31", .points = {pointAt(1.0, 33.0, 50.0)}},
        {.name = "r52", .points = {pointAt(34.0, 20.0, 36.0)}},  // r5 itself has no points
    };
}

/// A data set in a folder of its own.
class OctreeSelection : public testing::Test
{
protected:
    OctreeSelection()
    {
        Samples::OctreeWriterOptions options;
        options.attributes = {
            Samples::Attribute::Position,
            Samples::Attribute::Rgb,
            Samples::Attribute::Intensity,
            Samples::Attribute::Classification,
            Samples::Attribute::ScanIndex,
            Samples::Attribute::Visibility};
        options.cube = Samples::Cube{{kEasting, kNorthing, kHeight}, 64.0};
        options.threadCount = 1;
        Samples::writeOctreeNodes(folder.path(), someNodes(), options);
    }

    Octree::Octree open() const { return Octree::Octree(Octree::Location::fromPath(folder.path()), 1.0); }

    TemporaryFolder folder;
};

Names namesOf(const Octree::OctreeChildNodeIdRange& ids)
{
    Names names;
    for (const OctreeNodeId& id : ids)
    {
        names.push_back(id.name());
    }
    return names;
}

/// Runs a pass that wants everything.
void selectEverything(
    const Octree::Octree& octree, NodePrioritizer& prioritizer, Core::TripleBuffer<Buffer>& buffers
)
{
    const OctreeSelectionTree tree(octree);
    const NodeRanking ranking = [](std::size_t, const Math::NBoundingBox<float, 3>&)
    { return rankOf(50.0F); };
    const VertexSource source =
        [&octree](const OctreeNodeId& id, VertexContainer& vertices, std::stop_token stopToken)
    { return convertToVertices(octree, id, vertices, stopToken); };
    const SelectionPass pass{
        .prioritizer = prioritizer,
        .cloudId = 1,
        .tree = tree,
        .ranking = ranking,
        .vertexSource = source,
        .buffers = buffers,
        .maxLevel = OctreeNodeId::MAX_REPRESENTABLE_LEVEL,
        .updateInterval = [] { return Render::UpdateInterval(std::chrono::milliseconds(500)); },
        .requestRedraw = [] {},
        .onProgress = {},
    };
    selectNodes(pass, {});
}
}  // namespace

TEST_F(OctreeSelection, VerticesHaveTheAttributesOfTheNodesVisiblePoints)
{
    const Octree::Octree octree = open();
    VertexContainer vertices;

    ASSERT_TRUE(convertToVertices(octree, OctreeNodeId(), vertices, {}));

    ASSERT_EQ(vertices.size(), 2U);  // one is hidden
    for (std::size_t i = 0; i < 2; ++i)
    {
        EXPECT_EQ(vertices.data()[i].color, Math::Color(0x12, 0x34, 0x56, 255));
        EXPECT_EQ(vertices.data()[i].intensity, 0x78);
        EXPECT_EQ(vertices.data()[i].classIndex, 6);
        EXPECT_EQ(vertices.data()[i].scanIndex, 0xBCDE);
    }
}

TEST_F(OctreeSelection, PositionsFarFromTheOriginKeepTheirPrecision)
{
    const Octree::Octree octree = open();
    VertexContainer vertices;

    ASSERT_TRUE(convertToVertices(octree, OctreeNodeId::fromName("r0"), vertices, {}));

    ASSERT_EQ(vertices.size(), 1U);
    const Math::Point<float, 3>& position = vertices.data()[0].position;
    EXPECT_NEAR(static_cast<double>(position.x), kEasting + 8.0 - octree.position().x, 1e-5);
    EXPECT_NEAR(static_cast<double>(position.y), kNorthing + 9.0 - octree.position().y, 1e-5);
    EXPECT_NEAR(static_cast<double>(position.z), kHeight + 10.0 - octree.position().z, 1e-5);
}

TEST_F(OctreeSelection, ScratchMemoryHoldsNothingOfTheNodeBefore)
{
    const Octree::Octree octree = open();
    VertexContainer root;
    VertexContainer child;
    VertexContainer rootAgain;

    ASSERT_TRUE(convertToVertices(octree, OctreeNodeId(), root, {}));
    ASSERT_TRUE(convertToVertices(octree, OctreeNodeId::fromName("r03"), child, {}));
    ASSERT_TRUE(convertToVertices(octree, OctreeNodeId(), rootAgain, {}));

    EXPECT_EQ(child.size(), 1U);
    ASSERT_EQ(rootAgain.size(), root.size());
    EXPECT_EQ(rootAgain.data()[1].position, root.data()[1].position);
}

TEST_F(OctreeSelection, ReadingIsGivenUpWhenStopped)
{
    const Octree::Octree octree = open();
    std::stop_source stop;
    stop.request_stop();
    VertexContainer vertices;

    bool read = true;
    try
    {
        read = convertToVertices(octree, OctreeNodeId(), vertices, stop.get_token());
    }
    catch (const std::runtime_error&)
    {
        read = false;  // the look-up of a node may be stopped before its points are read
    }

    EXPECT_FALSE(read);
}

TEST_F(OctreeSelection, DamagedDataAreReportedWithTheirFile)
{
    const Octree::Octree octree = open();
    std::filesystem::resize_file(folder.path() / "octree.bin", 10);
    VertexContainer vertices;

    const std::string message = messageOf<std::runtime_error>(
        [&] { convertToVertices(octree, OctreeNodeId::fromName("r0"), vertices, {}); }
    );

    EXPECT_NE(message.find("octree.bin"), std::string::npos) << message;
}

TEST_F(OctreeSelection, TreeAnswersAsTheOctreeDoes)
{
    const Octree::Octree octree = open();
    const OctreeSelectionTree tree(octree);

    EXPECT_EQ(namesOf(tree.children(OctreeNodeId(), {})), (Names{"r0", "r3", "r5"}));
    EXPECT_EQ(namesOf(tree.children(OctreeNodeId::fromName("r03"), {})), Names{});
    EXPECT_EQ(tree.nodeVisibility(OctreeNodeId::fromName("r3"), {}), NodeVisibilityType::Hidden);
    EXPECT_EQ(tree.nodeVisibility(OctreeNodeId::fromName("r0"), {}), NodeVisibilityType::PerPoint);
    EXPECT_EQ(
        tree.boundingCube(OctreeNodeId::fromName("r52")), octree.boundingCube(OctreeNodeId::fromName("r52"))
    );
}

TEST_F(OctreeSelection, PassLoadsWhatIsNeitherHiddenNorBelowANodeWithoutPoints)
{
    const Octree::Octree octree = open();
    NodePrioritizer prioritizer(1000);
    Core::TripleBuffer<Buffer> buffers;

    selectEverything(octree, prioritizer, buffers);

    ASSERT_TRUE(buffers.update());
    Names names;
    for (const NodeRecord& record : buffers.front().nodes)
    {
        names.push_back(record.octreeNodeId.name());
    }
    EXPECT_EQ(names, (Names{"r", "r0", "r03"}));
    EXPECT_EQ(buffers.front().vertices.size(), 4U);
}

TEST_F(OctreeSelection, DamagedNodeEndsThePassWithItsCause)
{
    const Octree::Octree octree = open();
    std::filesystem::resize_file(folder.path() / "octree.bin", 10);
    NodePrioritizer prioritizer(1000);
    Core::TripleBuffer<Buffer> buffers;
    std::string cause;

    try
    {
        selectEverything(octree, prioritizer, buffers);
        FAIL() << "the pass has not noticed";
    }
    catch (const std::runtime_error& error)
    {
        EXPECT_STREQ(error.what(), "Error loading point data");
        cause = messageOf<std::runtime_error>([&error] { std::rethrow_if_nested(error); });
    }
    EXPECT_NE(cause.find("octree.bin"), std::string::npos) << cause;
}

TEST(OctreeSelectionOfRealData, EveryPointBecomesAVertex)
{
    for (const char* name : {"autzen_brotli", "autzen_default", "test14_brotli"})
    {
        SCOPED_TRACE(name);
        const Octree::Octree octree(Octree::Location::fromPath(testData() / name), 1.0);
        std::vector<OctreeNodeId> nodes{octree.root()};
        std::uint64_t pointCount = 0;
        for (std::size_t i = 0; i < nodes.size(); ++i)
        {
            pointCount += octree.nodeInfo(nodes[i]).pointCount;
            for (const OctreeNodeId& child : octree.children(nodes[i]))
            {
                nodes.push_back(child);
            }
        }
        NodePrioritizer prioritizer(10000000);
        Core::TripleBuffer<Buffer> buffers;

        selectEverything(octree, prioritizer, buffers);

        ASSERT_TRUE(buffers.update());
        EXPECT_GT(pointCount, 0U);
        EXPECT_EQ(buffers.front().vertices.size(), pointCount);
        std::size_t outside = 0;
        for (const NodeRecord& record : buffers.front().nodes)
        {
            const Math::NBoundingBox<float, 3> cube = octree.boundingCube(record.octreeNodeId);
            for (std::uint64_t i = record.firstPoint; i < record.firstPoint + record.pointCount; ++i)
            {
                const Math::Point<float, 3>& p = buffers.front().vertices[i].position;
                const float tolerance = 0.002F;  // the sets store millimetres or centimetres
                const bool inside = p.x >= cube.min().x - tolerance && p.x <= cube.max().x + tolerance &&
                                    p.y >= cube.min().y - tolerance && p.y <= cube.max().y + tolerance &&
                                    p.z >= cube.min().z - tolerance && p.z <= cube.max().z + tolerance;
                outside += inside ? 0U : 1U;
            }
        }
        EXPECT_EQ(outside, 0U);
    }
}
}  // namespace Render
