#include "math/Spectrum.h"
#include "render/pointcloud/writeOctreeTexture.h"
#include "tests/render/algorithms/PrioritizerOffers.h"
#include "tests/render/algorithms/rankOf.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <stop_token>
#include <vector>

namespace Render
{
TEST(NodePrioritizer, PublishesOnceForEachUpdate)
{
    NodePrioritizer prioritizer(100);
    Core::TripleBuffer<Buffer> buffers;
    EXPECT_FALSE(buffers.update());

    prioritizer.updateBuffers(kCloud, false, buffers);

    EXPECT_TRUE(buffers.update());
    EXPECT_FALSE(buffers.update());
}

TEST(NodePrioritizer, CloudWithoutNodesPublishesEmptyArrays)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.cloudId = kOtherCloud}, points(1));

    for (const bool dropDeepestLevel : {false, true})
    {
        const Buffer buffer = published(prioritizer, kCloud, dropDeepestLevel);

        EXPECT_TRUE(buffer.nodes.empty());
        EXPECT_TRUE(buffer.vertices.empty());
        EXPECT_TRUE(buffer.boundingBoxes.empty());
        EXPECT_TRUE(buffer.octreeTextureData.empty());
    }
}

TEST(NodePrioritizer, RootAloneIsOneRecordAndOneEmptyTexel)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.box = Box({1.0F, 2.0F, 3.0F}, {5.0F, 6.0F, 7.0F})}, points(3));

    const Buffer buffer = published(prioritizer);

    ASSERT_EQ(buffer.nodes.size(), 1U);
    EXPECT_EQ(buffer.nodes[0].octreeNodeId, OctreeNodeId());
    EXPECT_EQ(buffer.nodes[0].index, 0U);
    EXPECT_EQ(buffer.nodes[0].level, 0U);
    EXPECT_EQ(buffer.nodes[0].firstPoint, 0U);
    EXPECT_EQ(buffer.nodes[0].pointCount, 3U);
    EXPECT_EQ(buffer.nodes[0].boxMin, (Math::Point<float, 3>(1.0F, 2.0F, 3.0F)));
    EXPECT_EQ(buffer.octreeTextureData, (std::vector<std::uint8_t>{0, 0, 0, 0}));
    EXPECT_EQ(buffer.vertices.size(), 3U);
}

TEST(NodePrioritizer, VerticesFollowTheOrderOfAdmissionAndRecordsThatOfTheIds)
{
    NodePrioritizer prioritizer(kLargeBudget);
    offer(prioritizer, {.name = "r"}, points(2, 100));
    offer(prioritizer, {.name = "r5"}, points(3, 200));
    offer(prioritizer, {.name = "r3"}, points(1, 300));
    offer(prioritizer, {.name = "r3", .cloudId = kOtherCloud}, points(1, 900));
    offer(prioritizer, {.name = "r0"}, points(2, 400));

    const Buffer buffer = published(prioritizer);

    EXPECT_EQ(namesOf(buffer), (Names{"r", "r0", "r3", "r5"}));
    const std::vector<std::uint64_t> firstPoints{0, 6, 5, 2};
    const std::vector<std::uint64_t> pointCounts{2, 2, 1, 3};
    for (std::size_t i = 0; i < 4; ++i)
    {
        EXPECT_EQ(buffer.nodes[i].index, i);
        EXPECT_EQ(buffer.nodes[i].level, i == 0 ? 0U : 1U);
        EXPECT_EQ(buffer.nodes[i].firstPoint, firstPoints[i]);
        EXPECT_EQ(buffer.nodes[i].pointCount, pointCounts[i]);
    }
    std::vector<int> scanIndices;
    for (const VertexContainer::Vertex& vertex : buffer.vertices)
    {
        scanIndices.push_back(vertex.scanIndex);
    }
    EXPECT_EQ(scanIndices, (std::vector<int>{100, 101, 200, 201, 202, 300, 400, 401}));
    EXPECT_EQ(
        buffer.octreeTextureData,
        (std::vector<std::uint8_t>{0b00101001, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})
    );
}

TEST(NodePrioritizer, OnlyTheUnbrokenRunOfLevelsIsDrawn)
{
    NodePrioritizer prioritizer(kLargeBudget);
    offer(prioritizer, {.name = "r"}, points(1));
    offer(prioritizer, {.name = "r111"}, points(10));
    offer(prioritizer, {.name = "r1"}, points(2));

    const Buffer buffer = published(prioritizer);

    EXPECT_EQ(namesOf(buffer), (Names{"r", "r1"}));
    EXPECT_EQ(buffer.vertices.size(), 3U);
    EXPECT_EQ(buffer.boundingBoxes.size(), 2U);
    EXPECT_EQ(buffer.octreeTextureData.size(), 8U);
}

TEST(NodePrioritizer, WithoutTheRootNothingIsDrawn)
{
    NodePrioritizer prioritizer(kLargeBudget);
    offer(prioritizer, {.name = "r1"}, points(2));

    EXPECT_TRUE(published(prioritizer).nodes.empty());
    EXPECT_TRUE(published(prioritizer).vertices.empty());
}

TEST(NodePrioritizer, DroppingTheDeepestLevelLeavesTheOthers)
{
    NodePrioritizer prioritizer(kLargeBudget);
    offer(prioritizer, {.name = "r"}, points(1));
    offer(prioritizer, {.name = "r1"}, points(2));
    offer(prioritizer, {.name = "r12"}, points(4));

    const Buffer buffer = published(prioritizer, kCloud, true);

    EXPECT_EQ(namesOf(buffer), (Names{"r", "r1"}));
    EXPECT_EQ(buffer.vertices.size(), 3U);
}

TEST(NodePrioritizer, DroppingTheDeepestLevelCountsTheUnbrokenRun)
{
    NodePrioritizer prioritizer(kLargeBudget);
    offer(prioritizer, {.name = "r"}, points(1));
    offer(prioritizer, {.name = "r1"}, points(2));
    offer(prioritizer, {.name = "r111"}, points(4));

    EXPECT_EQ(namesOf(published(prioritizer, kCloud, true)), (Names{"r"}));
}

TEST(NodePrioritizer, DroppingTheOnlyLevelDrawsNothing)
{
    NodePrioritizer prioritizer(kLargeBudget);
    offer(prioritizer, {.name = "r"}, points(1));

    EXPECT_TRUE(published(prioritizer, kCloud, true).nodes.empty());
}

TEST(NodePrioritizer, BoxesBelowTheRootAreShrunkAboutTheirCentre)
{
    NodePrioritizer prioritizer(kLargeBudget);
    offer(prioritizer, {.name = "r", .box = Box({0.0F, 0.0F, 0.0F}, {80.0F, 80.0F, 80.0F})}, points(1));
    offer(prioritizer, {.name = "r0", .box = Box({0.0F, 40.0F, -40.0F}, {40.0F, 80.0F, 0.0F})}, points(1));

    const std::vector<BoxWithColor> boxes = published(prioritizer).boundingBoxes;

    ASSERT_EQ(boxes.size(), 2U);
    EXPECT_EQ(boxes[0].min, (Math::Point<float, 3>(0.0F, 0.0F, 0.0F)));
    EXPECT_EQ(boxes[0].max, (Math::Point<float, 3>(80.0F, 80.0F, 80.0F)));
    EXPECT_EQ(boxes[1].min, (Math::Point<float, 3>(1.0F, 41.0F, -39.0F)));
    EXPECT_EQ(boxes[1].max, (Math::Point<float, 3>(39.0F, 79.0F, -1.0F)));
}

TEST(NodePrioritizer, BoxesAreColouredByPriority)
{
    NodePrioritizer prioritizer(kLargeBudget);
    offer(prioritizer, {.name = "r", .priority = NodePriority::keep()}, points(1));
    offer(prioritizer, {.name = "r0", .priority = rankOf(250.0F)}, points(1));
    offer(prioritizer, {.name = "r1", .priority = rankOf(0.0F, 2.0F)}, points(1));

    const std::vector<BoxWithColor> boxes = published(prioritizer).boundingBoxes;

    ASSERT_EQ(boxes.size(), 3U);
    EXPECT_EQ(boxes[0].color, Math::Spectrum::Inferno::color(0.0F));
    EXPECT_EQ(boxes[1].color, Math::Spectrum::Inferno::color(0.75F));
    EXPECT_EQ(boxes[2].color, Math::Spectrum::Inferno::color(1.0F));
}

TEST(NodePrioritizer, ReusedSlotsHoldNothingOfWhatWasDrawnBefore)
{
    NodePrioritizer prioritizer(kLargeBudget);
    Core::TripleBuffer<Buffer> buffers;
    for (const char* name : {"r", "r0", "r1", "r2", "r3"})
    {
        offer(prioritizer, {.name = name}, points(10));
    }
    for (int i = 0; i < 4; ++i)
    {
        prioritizer.updateBuffers(kCloud, false, buffers);
        buffers.update();
    }

    prioritizer.clear(kCloud);
    offer(prioritizer, {.name = "r"}, points(1, 77));
    prioritizer.updateBuffers(kCloud, false, buffers);

    ASSERT_TRUE(buffers.update());
    EXPECT_EQ(namesOf(buffers.front()), (Names{"r"}));
    ASSERT_EQ(buffers.front().vertices.size(), 1U);
    EXPECT_EQ(buffers.front().vertices[0].scanIndex, 77);
    EXPECT_EQ(buffers.front().boundingBoxes.size(), 1U);
    EXPECT_EQ(buffers.front().octreeTextureData.size(), 4U);
}

TEST(NodePrioritizer, MoreNodesThanTheTextureHoldsAreCutOff)
{
    NodePrioritizer prioritizer(kLargeBudget);
    std::vector<OctreeNodeId> ids{OctreeNodeId()};
    for (std::size_t parent = 0; ids.size() < 1 + 8 + 64 + 512 + 4096; ++parent)
    {
        for (unsigned i = 0; i < 8; ++i)
        {
            ids.push_back(ids[parent].child(i));
        }
    }
    const VertexSource source = points(2);
    bool resident = false;
    for (const OctreeNodeId& id : ids)
    {
        prioritizer.addNode({kCloud, id}, Box(), rankOf(10.0F), source, resident, {});
    }

    const Buffer buffer = published(prioritizer);
    EXPECT_EQ(buffer.nodes.size(), kMaxDrawnNodes);
    EXPECT_EQ(buffer.vertices.size(), 2 * kMaxDrawnNodes);
    EXPECT_EQ(buffer.boundingBoxes.size(), kMaxDrawnNodes);
    EXPECT_EQ(buffer.octreeTextureData.size(), 4 * kMaxDrawnNodes);
    EXPECT_EQ(buffer.nodes.back().octreeNodeId, ids[kMaxDrawnNodes - 1]);
    EXPECT_EQ(buffer.nodes.back().firstPoint, 2 * (kMaxDrawnNodes - 1));

    const Buffer coarser = published(prioritizer, kCloud, true);
    EXPECT_EQ(coarser.nodes.size(), 1U + 8U + 64U + 512U);
}

TEST(NodePrioritizer, PublicationsShareTheVerticesThatTheSourceShares)
{
    NodePrioritizer prioritizer(kLargeBudget);
    VertexContainer cached;
    cached.resize(3);
    const std::shared_ptr<const VertexBlock> block = cached.share();
    const VertexSource source = [&](const OctreeNodeId&, VertexContainer& vertices, std::stop_token)
    {
        vertices = cached;
        return true;
    };
    offer(prioritizer, {}, points(2));
    offer(prioritizer, {.name = "r1"}, source);

    const Buffer first = published(prioritizer);
    const Buffer second = published(prioritizer);

    EXPECT_EQ(first.vertices.blockAt(2), block.get());
    EXPECT_EQ(first.nodes.back().firstPoint, 2U);
    EXPECT_EQ(second.vertices.blockAt(0), first.vertices.blockAt(0));
}

TEST(NodePrioritizer, PublicationsOfWhatHasLeftGiveItUp)
{
    NodePrioritizer prioritizer(kLargeBudget);
    VertexContainer cached;
    cached.resize(3);
    const std::shared_ptr<const VertexBlock> block = cached.share();
    const VertexSource source = [&](const OctreeNodeId&, VertexContainer& vertices, std::stop_token)
    {
        vertices = cached;
        return true;
    };
    Core::TripleBuffer<Buffer> buffers;
    offer(prioritizer, {}, source);
    const auto publish = [&]
    {
        prioritizer.updateBuffers(kCloud, false, buffers);
        buffers.update();
    };
    publish();
    publish();
    prioritizer.clear(kCloud);

    publish();  // the front is empty now; what was the front may be the middle one
    publish();

    EXPECT_EQ(block.use_count(), 2);  // the test's own reference, and that of `cached`
}

TEST(NodePrioritizer, OfMoreNodesThanTheTextureHoldsTheBestAreDrawnWithTheirParents)
{
    // Five full levels; a node ranks by its code, so the last of each level rank best, and above their
    // parents.
    NodePrioritizer prioritizer(kLargeBudget);
    std::vector<OctreeNodeId> ids{OctreeNodeId()};
    for (std::size_t parent = 0; ids.size() < 1 + 8 + 64 + 512 + 4096; ++parent)
    {
        for (unsigned i = 0; i < 8; ++i)
        {
            ids.push_back(ids[parent].child(i));
        }
    }
    const VertexSource source = points(1);
    bool resident = false;
    for (auto id = ids.rbegin(); id != ids.rend(); ++id)  // children before their parents
    {
        prioritizer.addNode(
            {kCloud, *id}, Box(), rankOf(static_cast<float>(id->code())), source, resident, {}
        );
    }

    const Buffer buffer = published(prioritizer);

    ASSERT_EQ(buffer.nodes.size(), kMaxDrawnNodes);
    EXPECT_TRUE(buffer.nodes.front().octreeNodeId.isRoot());
    std::set<OctreeNodeId> drawn;
    for (const NodeRecord& record : buffer.nodes)
    {
        EXPECT_TRUE(record.level == 0 || drawn.contains(record.octreeNodeId.parent()))
            << record.octreeNodeId.name();
        drawn.insert(record.octreeNodeId);
    }
    // Codes grow with the level, so each subtree is walked wholly before the one before it: the root and
    // seven subtrees of 1 + 8 + 64 + 512 nodes are 4096.
    EXPECT_TRUE(drawn.contains(node("r7777")));
    EXPECT_TRUE(drawn.contains(node("r1000")));
    EXPECT_FALSE(drawn.contains(node("r0")));
}

TEST(NodePrioritizer, WithoutTheRootNothingOfManyNodesIsDrawn)
{
    NodePrioritizer prioritizer(kLargeBudget);
    const VertexSource source = points(1);
    bool resident = false;
    for (unsigned i = 0; i < 8 * 8 * 8 * 8 * 2; ++i)
    {
        const OctreeNodeId id =
            OctreeNodeId().child(i / 4096).child(i / 512 % 8).child(i / 64 % 8).child(i / 8 % 8).child(i % 8);
        prioritizer.addNode({kCloud, id}, Box(), rankOf(10.0F), source, resident, {});
    }

    EXPECT_TRUE(published(prioritizer).nodes.empty());
}

TEST(NodePrioritizer, NodesOfTheDeepestLevelAreDrawn)
{
    NodePrioritizer prioritizer(kLargeBudget);
    OctreeNodeId id;
    bool resident = false;
    const VertexSource source = points(1);
    prioritizer.addNode({kCloud, id}, Box(), rankOf(10.0F), source, resident, {});
    while (id.level() < OctreeNodeId::MAX_REPRESENTABLE_LEVEL)
    {
        id = id.child(3);
        prioritizer.addNode({kCloud, id}, Box(), rankOf(10.0F), source, resident, {});
    }

    EXPECT_EQ(published(prioritizer).nodes.size(), 22U);
    EXPECT_EQ(published(prioritizer, kCloud, true).nodes.size(), 21U);
}
}  // namespace Render
