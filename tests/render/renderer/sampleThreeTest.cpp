#include "render/renderer/sampleThree.h"

#include <gtest/gtest.h>

#include <array>
#include <map>

namespace Render
{
namespace
{
using Triple = std::array<std::uint32_t, 3>;
}  // namespace

// The generator's first numbers, divided by 2^32: 0.8147, 0.1355, 0.9058, 0.8350, 0.1270, 0.9689, 0.9134,
// 0.2210.

TEST(SampleThree, DrawsAreTheGeneratorsNumbersScaledToTheBound)
{
    std::mt19937 generator;

    EXPECT_EQ(drawBelow(generator, 100), 81U);
    EXPECT_EQ(drawBelow(generator, 100), 13U);
    EXPECT_EQ(drawBelow(generator, 1000), 905U);
    EXPECT_EQ(drawBelow(generator, 1), 0U);
    EXPECT_EQ(drawBelow(generator, 10), 1U);
}

TEST(SampleThree, DrawsStayBelowTheLargestBound)
{
    std::mt19937 generator;
    for (int i = 0; i < 1000; ++i)
    {
        EXPECT_LT(drawBelow(generator, 0xFFFFFFFFU), 0xFFFFFFFFU);
    }
}

TEST(SampleThree, DrawsThatWouldBeUnfairAreDrawnAgain)
{
    // Of 2^32 numbers the third of those below 3 x 2^30 would be hit twice as often without that.
    constexpr std::uint32_t kBound = 0xC0000000U;
    constexpr int kDraws = 30000;
    std::mt19937 generator;
    std::array<int, 3> hits{};

    for (int i = 0; i < kDraws; ++i)
    {
        ++hits[drawBelow(generator, kBound) / (kBound / 3)];
    }

    for (const int count : hits)
    {
        EXPECT_NEAR(count, kDraws / 3, 400);  // five standard deviations
    }
}

TEST(SampleThree, TakesEachNumberWithTheProbabilityOfTheRemainingNeed)
{
    std::mt19937 generator;

    // Below 10, 9, ...: 8 no; 1 of 3 needed, yes; 7 no; 5 no; 0 of 2 needed, yes; 4 no; 3 no; 0 of 1 needed,
    // yes.
    EXPECT_EQ(sampleThree(generator, 10), (Triple{1, 4, 7}));
}

TEST(SampleThree, OfThreeTakesAll)
{
    std::mt19937 generator;
    for (int i = 0; i < 100; ++i)
    {
        EXPECT_EQ(sampleThree(generator, 3), (Triple{0, 1, 2}));
    }
}

TEST(SampleThree, FindsAllTriplesEquallyOften)
{
    constexpr int kDraws = 100000;
    std::mt19937 generator;
    std::map<Triple, int> counts;

    for (int i = 0; i < kDraws; ++i)
    {
        ++counts[sampleThree(generator, 5)];
    }

    EXPECT_EQ(counts.size(), 10U);
    for (const auto& [triple, count] : counts)
    {
        EXPECT_LT(triple[0], triple[1]);
        EXPECT_LT(triple[1], triple[2]);
        EXPECT_NEAR(count, kDraws / 10, 500);  // five standard deviations
    }
}
}  // namespace Render
