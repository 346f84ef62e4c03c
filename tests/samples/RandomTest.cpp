#include "samples/Random.h"

#include <gtest/gtest.h>

#include <array>

namespace
{
using Samples::Random;

TEST(Random, GivesTheNumbersOfItsPublishedAlgorithm)
{
    // reference values of SplitMix64 started at 0; seed 0 is its own scrambled value
    Random random(0);

    EXPECT_EQ(random.next(), 0xe220a8397b1dcdafU);
    EXPECT_EQ(random.next(), 0x6e789e6aa1b965f4U);
    EXPECT_EQ(random.next(), 0x06c45d188009454fU);
}

TEST(Random, StaysBelowItsBoundAndReachesAllValues)
{
    Random random(5);
    std::array<int, 7> counts{};

    for (int i = 0; i < 7000; ++i)
    {
        ++counts.at(random.below(7));
    }

    for (const int count : counts)
    {
        EXPECT_NEAR(count, 1000, 150);  // five deviations of a fair draw
    }
}

TEST(Random, NormalNumbersHaveMeanZeroAndDeviationOne)
{
    Random random(5);
    double sum = 0;
    double squares = 0;

    constexpr int kCount = 100000;
    for (int i = 0; i < kCount; ++i)
    {
        const double value = random.normal();
        sum += value;
        squares += value * value;
    }

    EXPECT_NEAR(sum / kCount, 0, 0.02);
    EXPECT_NEAR(squares / kCount, 1, 0.02);
}
}  // namespace
