#include "math/Spectrum.h"
#include "render/pointcloud/NodePrioritizer.h"
#include "render/pointcloud/writeOctreeTexture.h"
#include "tests/render/algorithms/rankOf.h"

#include <gtest/gtest.h>

#include <exception>
#include <limits>
#include <set>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace Render
{
namespace
{
using Octree::OctreeNodeId;
using Box = Math::NBoundingBox<float, 3>;

constexpr std::size_t kCloud = 7;
constexpr std::size_t kOtherCloud = 8;
constexpr std::size_t kLargeBudget = 1000000;

OctreeNodeId node(const char* name)
{
    return OctreeNodeId::fromName(name);
}

/// A source of n vertices whose scan indices count from `first`.
VertexSource points(std::size_t n, unsigned short first = 0)
{
    return [n, first](const OctreeNodeId&, VertexContainer& vertices, std::stop_token)
    {
        vertices.resize(n);
        for (std::size_t i = 0; i < n; ++i)
        {
            vertices.setScanIndex(i, static_cast<unsigned short>(first + i));
        }
        return true;
    };
}

const VertexSource kMustNotBeAsked = [](const OctreeNodeId&, VertexContainer&, std::stop_token) -> bool
{
    ADD_FAILURE() << "the vertices must not be fetched";
    return false;
};

const VertexSource kFails = [](const OctreeNodeId&, VertexContainer&, std::stop_token) { return false; };

struct Offer
{
    const char* name = "r";
    NodePriority priority = NodePriority::keep();
    std::size_t cloudId = kCloud;
    Box box = Box({0.0F, 0.0F, 0.0F}, {8.0F, 8.0F, 8.0F});
    std::stop_token stopToken = {};
};

struct Answer
{
    bool added = false;
    bool resident = false;

    friend bool operator==(const Answer&, const Answer&) = default;
};

constexpr Answer kAdded{true, true};
constexpr Answer kAlreadyThere{false, true};
constexpr Answer kRefused{false, false};

Answer offer(NodePrioritizer& prioritizer, const Offer& what, const VertexSource& source)
{
    Answer answer;
    answer.added = prioritizer.addNode(
        {what.cloudId, node(what.name)}, what.box, what.priority, source, answer.resident, what.stopToken
    );
    return answer;
}

bool contains(const NodePrioritizer& prioritizer, const char* name, std::size_t cloudId = kCloud)
{
    return prioritizer.contains({cloudId, node(name)});
}

std::stop_token stoppedToken()
{
    std::stop_source source;
    source.request_stop();
    return source.get_token();
}

/// What updateBuffers() publishes.
Buffer published(NodePrioritizer& prioritizer, std::size_t cloudId = kCloud, bool dropDeepestLevel = false)
{
    Core::TripleBuffer<Buffer> buffers;
    prioritizer.updateBuffers(cloudId, dropDeepestLevel, buffers);
    EXPECT_TRUE(buffers.update());
    return buffers.front();
}

std::vector<std::string> namesOf(const Buffer& buffer)
{
    std::vector<std::string> names;
    for (const NodeRecord& record : buffer.nodes)
    {
        names.push_back(record.octreeNodeId.name());
    }
    return names;
}

using Names = std::vector<std::string>;
}  // namespace

TEST(NodePrioritizer, StartsEmpty)
{
    const NodePrioritizer prioritizer(100);

    EXPECT_EQ(prioritizer.totalMaxPointCount(), 100U);
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 0U);
    EXPECT_FALSE(contains(prioritizer, "r"));
}

TEST(NodePrioritizer, NodeBelowTheBudgetBecomesResident)
{
    NodePrioritizer prioritizer(100);

    EXPECT_EQ(offer(prioritizer, {}, points(99)), kAdded);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 99U);
    EXPECT_TRUE(contains(prioritizer, "r"));
    EXPECT_FALSE(contains(prioritizer, "r", kOtherCloud));
}

TEST(NodePrioritizer, ResidentNodeIsNotFetchedAgain)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {}, points(10));

    EXPECT_EQ(offer(prioritizer, {}, kMustNotBeAsked), kAlreadyThere);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 10U);
}

TEST(NodePrioritizer, SameNodeOfAnotherCloudIsAnotherNode)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.cloudId = kCloud}, points(10));

    EXPECT_EQ(offer(prioritizer, {.cloudId = kOtherCloud}, points(20)), kAdded);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 30U);
}

TEST(NodePrioritizer, NodeWithoutPointsNeverBecomesResident)
{
    NodePrioritizer prioritizer(100);

    EXPECT_EQ(offer(prioritizer, {}, points(0)), kRefused);

    EXPECT_FALSE(contains(prioritizer, "r"));
}

TEST(NodePrioritizer, SourceIsAskedForTheNodeWithTheStopToken)
{
    NodePrioritizer prioritizer(100);
    const std::stop_source stop;
    OctreeNodeId asked;
    bool sameToken = false;
    const VertexSource source =
        [&](const OctreeNodeId& id, VertexContainer& vertices, const std::stop_token& stopToken)
    {
        asked = id;
        sameToken = stopToken == stop.get_token();
        vertices.resize(1);
        return true;
    };

    offer(prioritizer, {.name = "r25", .stopToken = stop.get_token()}, source);

    EXPECT_EQ(asked, node("r25"));
    EXPECT_TRUE(sameToken);
}

TEST(NodePrioritizer, FailedFetchIsAnErrorAndChangesNothing)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {}, points(10));
    std::string message;

    try
    {
        offer(prioritizer, {.name = "r0"}, kFails);
    }
    catch (const std::runtime_error& error)
    {
        message = error.what();
    }

    EXPECT_EQ(message, "Error loading point data");
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 10U);
    EXPECT_FALSE(contains(prioritizer, "r0"));
    EXPECT_EQ(
        offer(prioritizer, {.name = "r0"}, points(5)), kAdded
    );  // the mutex is free, the node can come later
}

TEST(NodePrioritizer, ErrorOfTheSourceIsNested)
{
    NodePrioritizer prioritizer(100);
    const VertexSource throws = [](const OctreeNodeId&, VertexContainer&, std::stop_token) -> bool
    { throw std::runtime_error("octree.bin: too short"); };
    std::string message;
    std::string cause;

    try
    {
        offer(prioritizer, {}, throws);
    }
    catch (const std::runtime_error& error)
    {
        message = error.what();
        try
        {
            std::rethrow_if_nested(error);
        }
        catch (const std::runtime_error& nested)
        {
            cause = nested.what();
        }
    }

    EXPECT_EQ(message, "Error loading point data");
    EXPECT_EQ(cause, "octree.bin: too short");
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 0U);
    EXPECT_FALSE(contains(prioritizer, "r"));
}

TEST(NodePrioritizer, FailedFetchAfterAStopRequestIsNoError)
{
    NodePrioritizer prioritizer(100);
    const VertexSource throws = [](const OctreeNodeId&, VertexContainer&, std::stop_token) -> bool
    { throw std::runtime_error("stopped"); };

    EXPECT_EQ(offer(prioritizer, {.stopToken = stoppedToken()}, kFails), kRefused);
    EXPECT_EQ(offer(prioritizer, {.stopToken = stoppedToken()}, throws), kRefused);
}

TEST(NodePrioritizer, FirstNodeThatFillsTheBudgetExactlyStays)
{
    NodePrioritizer prioritizer(100);

    EXPECT_EQ(offer(prioritizer, {}, points(100)), kAdded);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 100U);
}

TEST(NodePrioritizer, FirstNodeLargerThanTheBudgetLeavesAtOnce)
{
    NodePrioritizer prioritizer(100);

    EXPECT_EQ(offer(prioritizer, {}, points(101)), kRefused);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 0U);
    EXPECT_FALSE(contains(prioritizer, "r"));
}

TEST(NodePrioritizer, BudgetOfZeroAdmitsNothing)
{
    NodePrioritizer prioritizer(0);

    EXPECT_EQ(offer(prioritizer, {}, points(1)), kRefused);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 0U);
}

TEST(NodePrioritizer, AtTheBudgetABetterNodeReplacesTheLowest)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.name = "r0", .priority = rankOf(50.0F)}, points(40));
    offer(prioritizer, {.name = "r1", .priority = rankOf(20.0F)}, points(30));
    offer(prioritizer, {.name = "r2", .priority = rankOf(40.0F)}, points(30));

    EXPECT_EQ(offer(prioritizer, {.name = "r3", .priority = rankOf(30.0F)}, points(25)), kAdded);

    EXPECT_TRUE(contains(prioritizer, "r0"));
    EXPECT_FALSE(contains(prioritizer, "r1"));
    EXPECT_TRUE(contains(prioritizer, "r2"));
    EXPECT_TRUE(contains(prioritizer, "r3"));
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 95U);
}

TEST(NodePrioritizer, AtTheBudgetALowerNodeIsRefusedUnread)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.name = "r0", .priority = rankOf(50.0F)}, points(100));

    EXPECT_EQ(offer(prioritizer, {.name = "r1", .priority = rankOf(49.0F)}, kMustNotBeAsked), kRefused);
}

TEST(NodePrioritizer, AtTheBudgetAnEqualNodeIsRefused)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.name = "r0", .priority = rankOf(50.0F, 3.0F)}, points(100));

    EXPECT_EQ(
        offer(prioritizer, {.name = "r1", .priority = rankOf(50.05F, 3.0F)}, kMustNotBeAsked), kRefused
    );
}

TEST(NodePrioritizer, AtTheBudgetANearerNodeOfTheSameSizeReplacesTheFarther)
{
    NodePrioritizer prioritizer(101);
    offer(prioritizer, {.name = "r0", .priority = rankOf(50.0F, 5.0F)}, points(60));
    offer(prioritizer, {.name = "r1", .priority = rankOf(50.0F, 9.0F)}, points(40));

    EXPECT_EQ(offer(prioritizer, {.name = "r2", .priority = rankOf(50.0F, 7.0F)}, points(40)), kAdded);

    EXPECT_TRUE(contains(prioritizer, "r0"));
    EXPECT_FALSE(contains(prioritizer, "r1"));
}

TEST(NodePrioritizer, NodeThatWouldReachTheBudgetIsComparedAfterTheFetch)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.name = "r0", .priority = rankOf(50.0F)}, points(90));

    EXPECT_EQ(offer(prioritizer, {.name = "r1", .priority = rankOf(40.0F)}, points(10)), kRefused);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 90U);
    EXPECT_FALSE(contains(prioritizer, "r1"));
}

TEST(NodePrioritizer, NodeThatIsTheLowestAfterItsAdmissionLeavesAtOnce)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.name = "r0", .priority = rankOf(50.0F)}, points(60));
    offer(prioritizer, {.name = "r1", .priority = rankOf(10.0F)}, points(30));

    // above r1, so it gets in; r1 leaves, 110 points are left, and now it is the lowest itself
    EXPECT_EQ(offer(prioritizer, {.name = "r2", .priority = rankOf(20.0F)}, points(50)), kRefused);

    EXPECT_TRUE(contains(prioritizer, "r0"));
    EXPECT_FALSE(contains(prioritizer, "r1"));
    EXPECT_FALSE(contains(prioritizer, "r2"));
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 60U);
}

TEST(NodePrioritizer, NodeOfOneCloudMakesAnotherCloudsNodeLeave)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.priority = rankOf(10.0F), .cloudId = kOtherCloud}, points(100));

    EXPECT_EQ(offer(prioritizer, {.priority = rankOf(20.0F), .cloudId = kCloud}, points(80)), kAdded);

    EXPECT_FALSE(contains(prioritizer, "r", kOtherCloud));
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 80U);
}

TEST(NodePrioritizer, StopWhileTheHeapIsBuiltRefusesTheNode)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.name = "r0", .priority = rankOf(10.0F)}, points(50));
    offer(prioritizer, {.name = "r1", .priority = rankOf(20.0F)}, points(49));
    prioritizer.setTotalMaxPointCount(99);  // reached now, without a heap

    EXPECT_EQ(
        offer(
            prioritizer,
            {.name = "r2", .priority = rankOf(30.0F), .stopToken = stoppedToken()},
            kMustNotBeAsked
        ),
        kRefused
    );
}

TEST(NodePrioritizer, StopAfterTheFetchWhileTheHeapIsBuiltRefusesTheNode)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.name = "r0", .priority = rankOf(10.0F)}, points(50));

    EXPECT_EQ(
        offer(
            prioritizer, {.name = "r1", .priority = rankOf(30.0F), .stopToken = stoppedToken()}, points(50)
        ),
        kRefused
    );

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 50U);
    EXPECT_FALSE(contains(prioritizer, "r1"));
}

TEST(NodePrioritizer, SmallerBudgetDropsTheLowestUntilItHolds)
{
    NodePrioritizer prioritizer(1000);
    offer(prioritizer, {.name = "r0", .priority = rankOf(30.0F)}, points(100));
    offer(prioritizer, {.name = "r1", .priority = rankOf(10.0F)}, points(100));
    offer(prioritizer, {.name = "r2", .priority = rankOf(40.0F)}, points(100));
    offer(prioritizer, {.name = "r3", .priority = rankOf(20.0F)}, points(100));

    prioritizer.setTotalMaxPointCount(250);

    EXPECT_EQ(prioritizer.totalMaxPointCount(), 250U);
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 200U);
    EXPECT_TRUE(contains(prioritizer, "r0"));
    EXPECT_FALSE(contains(prioritizer, "r1"));
    EXPECT_TRUE(contains(prioritizer, "r2"));
    EXPECT_FALSE(contains(prioritizer, "r3"));
}

TEST(NodePrioritizer, BudgetEqualToTheUseDropsNothing)
{
    NodePrioritizer prioritizer(1000);
    offer(prioritizer, {.name = "r0", .priority = rankOf(30.0F)}, points(100));

    prioritizer.setTotalMaxPointCount(100);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 100U);
}

TEST(NodePrioritizer, BudgetOfZeroDropsEverything)
{
    NodePrioritizer prioritizer(1000);
    offer(prioritizer, {.name = "r0"}, points(100));
    offer(prioritizer, {.name = "r1"}, points(100));

    prioritizer.setTotalMaxPointCount(0);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 0U);
    EXPECT_FALSE(contains(prioritizer, "r0"));
    EXPECT_FALSE(contains(prioritizer, "r1"));
}

TEST(NodePrioritizer, ClearDropsEveryNode)
{
    NodePrioritizer prioritizer(1000);
    offer(prioritizer, {.cloudId = kCloud}, points(100));
    offer(prioritizer, {.cloudId = kOtherCloud}, points(100));

    prioritizer.clear();

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 0U);
    EXPECT_FALSE(contains(prioritizer, "r", kCloud));
    EXPECT_FALSE(contains(prioritizer, "r", kOtherCloud));
    EXPECT_EQ(prioritizer.totalMaxPointCount(), 1000U);
    EXPECT_EQ(offer(prioritizer, {}, points(10)), kAdded);
}

TEST(NodePrioritizer, ClearOfOneCloudLeavesTheOthers)
{
    NodePrioritizer prioritizer(1000);
    offer(prioritizer, {.name = "r", .cloudId = kCloud}, points(100));
    offer(prioritizer, {.name = "r", .cloudId = kOtherCloud}, points(10));
    offer(prioritizer, {.name = "r0", .cloudId = kCloud}, points(100));
    offer(prioritizer, {.name = "r0", .cloudId = kOtherCloud}, points(20));

    prioritizer.clear(kCloud);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 30U);
    EXPECT_FALSE(contains(prioritizer, "r", kCloud));
    EXPECT_FALSE(contains(prioritizer, "r0", kCloud));
    EXPECT_EQ(namesOf(published(prioritizer, kOtherCloud)), (Names{"r", "r0"}));
}

TEST(NodePrioritizer, EvictionAfterAClearStillFindsTheLowest)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.name = "r0", .priority = rankOf(10.0F), .cloudId = kOtherCloud}, points(40));
    offer(prioritizer, {.name = "r1", .priority = rankOf(50.0F)}, points(30));
    offer(prioritizer, {.name = "r2", .priority = rankOf(20.0F)}, points(30));  // heap from here on
    prioritizer.clear(kOtherCloud);
    offer(prioritizer, {.name = "r3", .priority = rankOf(30.0F)}, points(30));

    EXPECT_EQ(offer(prioritizer, {.name = "r4", .priority = rankOf(40.0F)}, points(30)), kAdded);

    EXPECT_FALSE(contains(prioritizer, "r2"));
    EXPECT_TRUE(contains(prioritizer, "r3"));
}

TEST(NodePrioritizer, RerankAsksForLevelAndBoxOfEachNodeOfTheCloudInOrder)
{
    NodePrioritizer prioritizer(kLargeBudget);
    offer(prioritizer, {.name = "r"}, points(1));
    offer(prioritizer, {.name = "r0", .cloudId = kOtherCloud}, points(1));
    offer(prioritizer, {.name = "r123", .box = Box({1.0F, 2.0F, 3.0F}, {4.0F, 5.0F, 6.0F})}, points(1));
    std::vector<std::size_t> levels;
    std::vector<Box> boxes;

    prioritizer.rerank(
        kCloud,
        [&](std::size_t level, const Box& box)
        {
            levels.push_back(level);
            boxes.push_back(box);
            return rankOf(1.0F);
        },
        {}
    );

    EXPECT_EQ(levels, (std::vector<std::size_t>{0, 3}));
    ASSERT_EQ(boxes.size(), 2U);
    EXPECT_EQ(boxes[1], Box({1.0F, 2.0F, 3.0F}, {4.0F, 5.0F, 6.0F}));
}

TEST(NodePrioritizer, RerankEndsEarlyWhenStopped)
{
    NodePrioritizer prioritizer(kLargeBudget);
    for (const char* name : {"r", "r0", "r1", "r2"})
    {
        offer(prioritizer, {.name = name}, points(1));
    }
    std::stop_source stop;
    std::size_t ranked = 0;

    prioritizer.rerank(
        kCloud,
        [&](std::size_t, const Box&)
        {
            if (++ranked == 2)
            {
                stop.request_stop();
            }
            return rankOf(1.0F);
        },
        stop.get_token()
    );

    EXPECT_EQ(ranked, 2U);
}

TEST(NodePrioritizer, RerankedNodesLeaveByTheirNewRanks)
{
    NodePrioritizer prioritizer(100);
    offer(
        prioritizer, {.name = "r0", .priority = rankOf(10.0F), .box = Box({0, 0, 0}, {1, 1, 1})}, points(50)
    );
    offer(
        prioritizer, {.name = "r1", .priority = rankOf(90.0F), .box = Box({0, 0, 0}, {2, 2, 2})}, points(50)
    );

    prioritizer.rerank(kCloud, [](std::size_t, const Box& box) { return rankOf(100.0F / box.max().x); }, {});
    EXPECT_EQ(offer(prioritizer, {.name = "r2", .priority = rankOf(60.0F)}, points(50)), kAdded);

    EXPECT_TRUE(contains(prioritizer, "r0"));
    EXPECT_FALSE(contains(prioritizer, "r1"));
}

TEST(NodePrioritizer, DiscardedNodesStayResidentUndrawnAndLeaveFirst)
{
    NodePrioritizer prioritizer(100);
    offer(prioritizer, {.name = "r"}, points(40));
    offer(prioritizer, {.name = "r0", .priority = rankOf(50.0F)}, points(59));
    prioritizer.rerank(
        kCloud,
        [](std::size_t level, const Box&) { return level == 0 ? rankOf(20.0F) : NodePriority::discard(); },
        {}
    );

    EXPECT_TRUE(contains(prioritizer, "r0"));
    EXPECT_EQ(namesOf(published(prioritizer)), (Names{"r"}));

    offer(prioritizer, {.name = "r1", .priority = rankOf(1.0F)}, points(10));
    EXPECT_FALSE(contains(prioritizer, "r0"));
    EXPECT_TRUE(contains(prioritizer, "r1"));
}

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

TEST(NodePrioritizer, IsFreeForOthersWhileANodeIsFetched)
{
    NodePrioritizer prioritizer(kLargeBudget);
    std::size_t usedDuringTheFetch = 0;
    const VertexSource source = [&](const OctreeNodeId&, VertexContainer& vertices, std::stop_token)
    {
        std::jthread other(
            [&]
            {
                offer(prioritizer, {.name = "r1", .cloudId = kOtherCloud}, points(7));
                usedDuringTheFetch = prioritizer.totalUsedPointCount();
            }
        );
        other.join();
        vertices.resize(10);
        return true;
    };

    EXPECT_EQ(offer(prioritizer, {}, source), kAdded);

    EXPECT_EQ(usedDuringTheFetch, 7U);
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 17U);
}

TEST(NodePrioritizer, NodeThatAnotherThreadAddsDuringTheFetchIsNotAddedAgain)
{
    NodePrioritizer prioritizer(kLargeBudget);
    const VertexSource source = [&](const OctreeNodeId&, VertexContainer& vertices, std::stop_token)
    {
        EXPECT_EQ(offer(prioritizer, {}, points(4)), kAdded);
        vertices.resize(10);
        return true;
    };

    EXPECT_EQ(offer(prioritizer, {}, source), kAlreadyThere);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 4U);
    EXPECT_EQ(published(prioritizer).nodes.size(), 1U);
}

TEST(NodePrioritizer, BudgetThatIsUsedUpDuringTheFetchCounts)
{
    NodePrioritizer prioritizer(20);
    const VertexSource source = [&](const OctreeNodeId&, VertexContainer& vertices, std::stop_token)
    {
        EXPECT_EQ(offer(prioritizer, {.name = "r1", .priority = rankOf(50.0F)}, points(20)), kAdded);
        vertices.resize(5);
        return true;
    };

    EXPECT_EQ(offer(prioritizer, {.name = "r2", .priority = rankOf(10.0F)}, source), kRefused);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 20U);
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

TEST(NodePrioritizer, PrioritiesThatAreNotNumbersDoNoHarm)
{
    NodePrioritizer prioritizer(50);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const VertexSource source = points(7);
    bool resident = false;
    for (unsigned i = 0; i < 64; ++i)
    {
        const NodePriority priority = i % 3 == 0 ? rankOf(nan) : rankOf(static_cast<float>(i % 10), nan);
        const OctreeNodeId id = OctreeNodeId().child(i / 8).child(i % 8);
        prioritizer.addNode({kCloud, id}, Box(), priority, source, resident, {});
        ASSERT_LE(prioritizer.totalUsedPointCount(), 50U);
    }
}
}  // namespace Render
