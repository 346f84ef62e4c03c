#include "render/scene/DrawQueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace Render
{
namespace
{
struct Recorded
{
    DrawQueue queue;
    std::vector<std::string> calls;
    int owners[3]{};

    void add(int owner, const std::string& name)
    {
        queue.add(
            &owners[owner],
            [this, name] { calls.push_back(name); },
            [this, name] { calls.push_back("no " + name); }
        );
    }
};
}  // namespace

TEST(DrawQueue, IsClosedAtFirstAndOpenForAScope)
{
    DrawQueue queue;
    EXPECT_FALSE(queue.isOpen());
    {
        const DrawQueue::Opened opened(queue);
        EXPECT_TRUE(queue.isOpen());
        {
            const DrawQueue::Closed closed(queue);
            EXPECT_FALSE(queue.isOpen());
        }
        EXPECT_TRUE(queue.isOpen());
    }
    EXPECT_FALSE(queue.isOpen());
}

TEST(DrawQueue, ClosingAClosedOneLeavesItClosed)
{
    DrawQueue queue;
    {
        const DrawQueue::Closed closed(queue);
    }
    EXPECT_FALSE(queue.isOpen());
}

TEST(DrawQueue, FinishesInOrderOnceForEachOwner)
{
    Recorded recorded;
    recorded.add(1, "b");
    recorded.add(0, "a");
    recorded.add(1, "b again");

    recorded.queue.finish();
    EXPECT_THAT(recorded.calls, testing::ElementsAre("b", "a"));

    recorded.queue.finish();
    EXPECT_EQ(recorded.calls.size(), 2u) << "what is done is done";
}

TEST(DrawQueue, AFrameThatFailsDropsWhatIsLeft)
{
    Recorded recorded;
    try
    {
        const DrawQueue::Opened opened(recorded.queue);
        recorded.add(0, "a");
        throw std::runtime_error("a renderable failed");
    }
    catch (const std::runtime_error&)
    {
    }
    EXPECT_THAT(recorded.calls, testing::ElementsAre("no a"));
    recorded.queue.finish();
    EXPECT_EQ(recorded.calls.size(), 1u);
}

TEST(DrawQueue, AStepThatFailsIsNotTriedAgain)
{
    Recorded recorded;
    recorded.queue.add(
        &recorded.owners[0], [] { throw std::runtime_error("step"); }, [] {}
    );
    recorded.add(1, "b");

    EXPECT_THROW(recorded.queue.finish(), std::runtime_error);
    recorded.queue.finish();
    EXPECT_THAT(recorded.calls, testing::ElementsAre("b"));
}

TEST(DrawQueue, RenderersHaveTheirOwn)
{
    const auto first = DrawQueue::shared(901);
    EXPECT_EQ(first, DrawQueue::shared(901));
    EXPECT_NE(first, DrawQueue::shared(902));
}
}  // namespace Render
