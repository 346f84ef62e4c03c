#include "core/SharedResources.h"
#include "tests/support/ThreadSignals.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{
using Registry = Core::SharedResources<std::string, int>;

auto makes(int value)
{
    return [value] { return std::make_shared<int>(value); };
}

TEST(SharedResources, GivesUsersOfOneKeyOneObject)
{
    Registry registry;

    const std::shared_ptr<int> first = registry.createOrGet("a", makes(1));
    const std::shared_ptr<int> second = registry.createOrGet("a", makes(2));

    EXPECT_EQ(first, second);
    EXPECT_EQ(*second, 1);
    EXPECT_EQ(registry.numAlive(), 1U);
}

TEST(SharedResources, GivesEachKeyItsOwnObject)
{
    Registry registry;

    const std::shared_ptr<int> a = registry.createOrGet("a", makes(1));
    const std::shared_ptr<int> b = registry.createOrGet("b", makes(2));

    EXPECT_NE(a, b);
    EXPECT_EQ(registry.numAlive(), 2U);
}

TEST(SharedResources, MakesAFreshObjectAfterTheLastUserHasGone)
{
    Registry registry;
    std::shared_ptr<int> first = registry.createOrGet("a", makes(1));
    const std::weak_ptr<int> watched = first;

    first.reset();

    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(registry.numAlive(), 0U);
    EXPECT_EQ(*registry.createOrGet("a", makes(2)), 2);
}

TEST(SharedResources, KeepsNothingWhenTheFactoryThrows)
{
    Registry registry;
    const auto fails = []() -> std::shared_ptr<int> { throw std::runtime_error("no"); };

    EXPECT_THROW(registry.createOrGet("a", fails), std::runtime_error);

    EXPECT_EQ(registry.numAlive(), 0U);
    EXPECT_EQ(*registry.createOrGet("a", makes(3)), 3);
}

TEST(SharedResources, FactoryMayAskForAnotherKey)
{
    Registry registry;
    std::shared_ptr<int> inner;
    const std::shared_ptr<int> outer = registry.createOrGet(
        "outer",
        [&]
        {
            inner = registry.createOrGet("inner", makes(1));
            return std::make_shared<int>(*inner + 1);
        }
    );

    EXPECT_EQ(*outer, 2);
    EXPECT_EQ(registry.numAlive(), 2U);
}

TEST(SharedResources, MakesOneObjectForThreadsThatAskAtOnce)
{
    constexpr int kThreadCount = 6;
    Registry registry;
    std::atomic<int> made{0};
    Rendezvous start(kThreadCount);
    std::vector<std::shared_ptr<int>> got(kThreadCount);
    std::vector<std::thread> threads;
    for (std::shared_ptr<int>& result : got)
    {
        threads.emplace_back(
            [&]
            {
                start.arriveAndWait();
                result = registry.createOrGet("key", [&] { return std::make_shared<int>(++made); });
            }
        );
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    EXPECT_EQ(made, 1);
    for (const std::shared_ptr<int>& result : got)
    {
        EXPECT_EQ(result, got.front());
    }
}

TEST(SharedResources, SurvivesThreadsThatTakeAndDropObjects)
{
    constexpr int kRounds = 2000;
    Registry registry;
    std::atomic<int> alive{0};
    const auto counted = [&]
    {
        ++alive;
        return std::shared_ptr<int>(
            new int(0),
            [&](const int* value)
            {
                delete value;
                --alive;
            }
        );
    };
    const auto takeAndDrop = [&]
    {
        for (int round = 0; round < kRounds; ++round)
        {
            const std::shared_ptr<int> object = registry.createOrGet("key", counted);
            EXPECT_NE(object, nullptr);
        }
    };
    std::thread other(takeAndDrop);
    takeAndDrop();
    other.join();

    EXPECT_EQ(alive, 0);
    EXPECT_EQ(registry.numAlive(), 0U);
}
}  // namespace
