#include "core/TripleBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <thread>
#include <vector>

namespace
{
TEST(TripleBuffer, HasADefaultFrontBeforeAnythingIsPublished)
{
    Core::TripleBuffer<std::vector<int>> buffer;

    EXPECT_FALSE(buffer.update());
    EXPECT_TRUE(buffer.front().empty());
}

TEST(TripleBuffer, HandsOverAPublishedValueOnce)
{
    Core::TripleBuffer<int> buffer;
    buffer.back() = 7;
    buffer.publish();

    EXPECT_EQ(buffer.front(), 0);
    EXPECT_TRUE(buffer.update());
    EXPECT_EQ(buffer.front(), 7);
    EXPECT_FALSE(buffer.update());
    EXPECT_EQ(buffer.front(), 7);
}

TEST(TripleBuffer, HandsOverTheNewestOfSeveralValues)
{
    Core::TripleBuffer<int> buffer;
    for (int value = 1; value <= 5; ++value)
    {
        buffer.back() = value;
        buffer.publish();
    }

    EXPECT_TRUE(buffer.update());
    EXPECT_EQ(buffer.front(), 5);
    EXPECT_FALSE(buffer.update());
}

TEST(TripleBuffer, LeavesTheFrontAloneWhileTheWriterGoesOn)
{
    Core::TripleBuffer<int> buffer;
    buffer.back() = 1;
    buffer.publish();
    buffer.update();
    const int* const front = &buffer.front();

    for (int value = 2; value <= 10; ++value)
    {
        buffer.back() = value;
        EXPECT_NE(&buffer.back(), front);
        buffer.publish();
    }

    EXPECT_EQ(&buffer.front(), front);
    EXPECT_EQ(buffer.front(), 1);
}

TEST(TripleBuffer, UsesThreeSlotsAgainAndAgain)
{
    Core::TripleBuffer<int> buffer;
    std::set<const int*> slots;
    for (int round = 0; round < 20; ++round)
    {
        slots.insert(&buffer.back());
        buffer.publish();
        if (round % 2 == 0)
        {
            buffer.update();
        }
        slots.insert(&buffer.front());
    }

    EXPECT_EQ(slots.size(), 3U);
}

TEST(TripleBuffer, ReaderSeesWholeEverNewerValuesAndInTheEndTheLast)
{
    constexpr std::uint64_t kLast = 100000;
    Core::TripleBuffer<std::vector<std::uint64_t>> buffer;
    std::thread writer(
        [&buffer]
        {
            for (std::uint64_t value = 1; value <= kLast; ++value)
            {
                buffer.back().assign(16, value);
                buffer.publish();
            }
        }
    );

    std::uint64_t seen = 0;
    bool isWhole = true;
    bool isNewer = true;
    while (seen < kLast && isWhole && isNewer)
    {
        if (!buffer.update())
        {
            std::this_thread::yield();
            continue;
        }
        const std::vector<std::uint64_t>& value = buffer.front();
        isWhole =
            value.size() == 16 && std::all_of(
                                      value.begin(),
                                      value.end(),
                                      [&value](std::uint64_t element) { return element == value.front(); }
                                  );
        isNewer = isWhole && value.front() > seen;
        seen = isWhole ? value.front() : seen;
    }
    writer.join();

    EXPECT_TRUE(isWhole);
    EXPECT_TRUE(isNewer);
    EXPECT_EQ(seen, kLast);
}
}  // namespace
