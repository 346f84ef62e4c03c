#include "render/pointcloud/SlotAllocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <stdexcept>
#include <vector>

namespace Render
{
TEST(SlotAllocator, RangesFollowOneAnotherAtMultiplesOfFour)
{
    SlotAllocator slots(100);

    EXPECT_EQ(slots.allocate(1), 0u);
    EXPECT_EQ(slots.allocate(5), 4u);
    EXPECT_EQ(slots.allocate(4), 12u);
    EXPECT_EQ(slots.used(), 16u);
}

TEST(SlotAllocator, CapacityIsRoundedDown)
{
    EXPECT_EQ(SlotAllocator(7).capacity(), 4u);
    EXPECT_EQ(SlotAllocator(3).capacity(), 0u);
    EXPECT_FALSE(SlotAllocator(3).allocate(1).has_value());
}

TEST(SlotAllocator, WhatDoesNotFitIsRefused)
{
    SlotAllocator slots(8);

    EXPECT_FALSE(slots.allocate(9).has_value());
    EXPECT_FALSE(slots.allocate(std::numeric_limits<std::size_t>::max()).has_value());
    EXPECT_EQ(slots.allocate(8), 0u);
    EXPECT_FALSE(slots.allocate(1).has_value());
}

TEST(SlotAllocator, TheSmallestRangeThatIsLargeEnoughIsTaken)
{
    SlotAllocator slots(64);
    slots.allocate(16);  // 0
    slots.allocate(4);   // 16
    slots.allocate(8);   // 20
    slots.allocate(36);  // 28, to the end
    slots.free(0, 16);
    slots.free(20, 8);

    EXPECT_EQ(slots.allocate(8), 20u);
    EXPECT_EQ(slots.allocate(12), 0u);
    EXPECT_EQ(slots.largestFree(), 4u);
}

TEST(SlotAllocator, FreeNeighboursJoin)
{
    SlotAllocator slots(12);
    slots.allocate(4);
    slots.allocate(4);
    slots.allocate(4);

    slots.free(0, 4);
    slots.free(8, 4);
    EXPECT_EQ(slots.largestFree(), 4u);
    slots.free(4, 4);

    EXPECT_EQ(slots.largestFree(), 12u);
    EXPECT_EQ(slots.used(), 0u);
    EXPECT_EQ(slots.allocate(12), 0u);
}

TEST(SlotAllocator, WhatIsNotInUseCannotBeGivenBack)
{
    SlotAllocator slots(32);
    slots.allocate(8);  // 0
    slots.allocate(8);  // 8
    slots.free(0, 8);

    EXPECT_THROW(slots.free(0, 8), std::logic_error) << "twice";
    EXPECT_THROW(slots.free(4, 8), std::logic_error) << "partly free";
    EXPECT_THROW(slots.free(9, 4), std::logic_error) << "beside the alignment";
    EXPECT_THROW(slots.free(8, 16), std::logic_error) << "longer than the range in use";
    EXPECT_THROW(slots.free(32, 4), std::logic_error) << "behind the end";
    EXPECT_THROW(slots.free(8, 0), std::logic_error) << "nothing";
    EXPECT_EQ(slots.used(), 8u);
}

TEST(SlotAllocator, RandomUseNeverOverlapsAndLosesNothing)
{
    constexpr std::size_t kCapacity = 4096;
    std::mt19937 random(1);
    SlotAllocator slots(kCapacity);

    struct Range
    {
        std::size_t first;
        std::size_t count;
    };

    std::vector<Range> inUse;
    std::vector<int> owners(kCapacity, 0);
    for (int step = 0; step < 20'000; ++step)
    {
        if (inUse.empty() || random() % 5 < 3)
        {
            const std::size_t count = 1 + random() % 200;
            const std::size_t length = (count + 3) / 4 * 4;
            const auto first = slots.allocate(count);
            if (!first)
            {
                // no run of free elements is that long
                std::size_t longest = 0;
                std::size_t run = 0;
                for (const int owner : owners)
                {
                    run = owner == 0 ? run + 1 : 0;
                    longest = std::max(longest, run);
                }
                ASSERT_LT(longest, length);
                ASSERT_EQ(slots.largestFree(), longest);
                continue;
            }
            ASSERT_EQ(*first % 4, 0u);
            ASSERT_LE(*first + length, kCapacity);
            for (std::size_t i = *first; i < *first + length; ++i)
            {
                ASSERT_EQ(owners[i]++, 0) << "element " << i << " was given out twice";
            }
            inUse.push_back({*first, count});
        }
        else
        {
            std::swap(inUse[random() % inUse.size()], inUse.back());
            const Range range = inUse.back();
            inUse.pop_back();
            slots.free(range.first, range.count);
            const std::size_t length = (range.count + 3) / 4 * 4;
            std::fill_n(owners.begin() + static_cast<std::ptrdiff_t>(range.first), length, 0);
        }
        ASSERT_EQ(
            slots.used(), kCapacity - static_cast<std::size_t>(std::count(owners.begin(), owners.end(), 0))
        );
    }
    for (const Range& range : inUse)
    {
        slots.free(range.first, range.count);
    }
    EXPECT_EQ(slots.largestFree(), kCapacity);
}
}  // namespace Render
