#include "tests/render/algorithms/PrioritizerOffers.h"
#include "tests/render/algorithms/rankOf.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <exception>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>

namespace Render
{
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
}  // namespace Render
