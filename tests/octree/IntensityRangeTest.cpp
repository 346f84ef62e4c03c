#include "octree/IntensityRange.h"

#include <gtest/gtest.h>

using Octree::IntensityRange;

TEST(IntensityRange, Of255KeepsEightBits)
{
    for (std::uint16_t value = 0; value < 256; ++value)
    {
        EXPECT_EQ((IntensityRange{0, 255}.toByte(value)), value);
    }
    EXPECT_EQ((IntensityRange{0, 255}.toByte(256)), 255);
}

TEST(IntensityRange, SpreadsWhatLiesBetweenItsLimits)
{
    const IntensityRange range{1000, 3000};

    EXPECT_EQ(range.toByte(0), 0);
    EXPECT_EQ(range.toByte(1000), 0);
    EXPECT_EQ(range.toByte(1001), 1);
    EXPECT_EQ(range.toByte(2000), 127);  // 1 + 999 x 254 / 1999 = 127.9
    EXPECT_EQ(range.toByte(2999), 254);
    EXPECT_EQ(range.toByte(3000), 255);
    EXPECT_EQ(range.toByte(65535), 255);
}

TEST(IntensityRange, TellsWhatLiesBetweenItsLimitsFromTheRestHoweverWideItIs)
{
    EXPECT_EQ((IntensityRange{-1, 65536}.toByte(0)), 1);
    EXPECT_EQ((IntensityRange{-1, 65536}.toByte(65535)), 254);
    EXPECT_EQ((IntensityRange{99, 101}.toByte(99)), 0);
    EXPECT_EQ((IntensityRange{99, 101}.toByte(100)), 1);
    EXPECT_EQ((IntensityRange{99, 101}.toByte(101)), 255);
    EXPECT_EQ((IntensityRange{99, 100}.toByte(99)), 0);
    EXPECT_EQ((IntensityRange{99, 100}.toByte(100)), 255);
}

TEST(IntensityRange, LimitsLieAroundSixteenBitsInTheirOrder)
{
    EXPECT_TRUE(Octree::isPossible({-1, 65536}));
    EXPECT_FALSE(Octree::isPossible({-2, 100}));
    EXPECT_FALSE(Octree::isPossible({0, 65537}));
    EXPECT_FALSE(Octree::isPossible({7, 7}));
}
