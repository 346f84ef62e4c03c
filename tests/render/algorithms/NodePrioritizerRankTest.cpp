#include "tests/render/algorithms/PrioritizerOffers.h"
#include "tests/render/algorithms/rankOf.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <stop_token>
#include <vector>

namespace Render
{
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
