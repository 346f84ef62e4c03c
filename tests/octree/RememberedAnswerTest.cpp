#include "octree/entwine/RememberedAnswer.h"
#include "tests/support/ThreadSignals.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <stdexcept>
#include <thread>

namespace
{
using Answer = Entwine::RememberedAnswer<int>;

TEST(RememberedAnswer, IsSearchedOnce)
{
    const Answer answer;
    int searches = 0;
    const auto search = [&searches]() -> std::optional<int> { return ++searches * 10; };

    EXPECT_EQ(answer.get(search), 10);
    EXPECT_EQ(answer.get(search), 10);
    EXPECT_EQ(searches, 1);
}

TEST(RememberedAnswer, AFailureIsRememberedWithItsText)
{
    const Answer answer;
    int searches = 0;
    const auto search = [&searches]() -> std::optional<int>
    { throw std::runtime_error("broken " + std::to_string(++searches)); };

    EXPECT_EQ(messageOf<std::runtime_error>([&] { answer.get(search); }), "broken 1");
    EXPECT_EQ(messageOf<std::runtime_error>([&] { answer.get(search); }), "broken 1");
    EXPECT_EQ(searches, 1);
}

TEST(RememberedAnswer, ASearchThatWasGivenUpIsMadeAgain)
{
    const Answer answer;

    EXPECT_EQ(answer.get([] { return std::optional<int>(); }), std::nullopt);
    EXPECT_THROW(answer.get([]() -> std::optional<int> { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_EQ(answer.get([] { return std::optional(3); }), 3);
}

TEST(RememberedAnswer, NobodyWaitsForTheSearchOfAnother)
{
    const Answer answer;
    Semaphore begun;
    Semaphore mayEnd;
    std::optional<int> slow;
    std::jthread searcher(
        [&]
        {
            slow = answer.get(
                [&]() -> std::optional<int>
                {
                    begun.release();
                    mayEnd.acquire();
                    return 1;
                }
            );
        }
    );
    begun.acquire();

    const std::optional<int> quick = answer.get([] { return std::optional(2); });  // hangs under a lock
    mayEnd.release();
    searcher.join();

    EXPECT_EQ(quick, 2);
    EXPECT_EQ(slow, 2);  // the first answer counts for all
}
}  // namespace
