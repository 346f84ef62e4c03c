#include "tests/soak/slope.h"

#include <gtest/gtest.h>

TEST(Slope, OfALineIsItsRise)
{
    EXPECT_DOUBLE_EQ(slope({10.0, 12.5, 15.0, 17.5}), 2.5);
}

TEST(Slope, OfLevelGroundIsNothingWhateverTheLevel)
{
    EXPECT_DOUBLE_EQ(slope({7.0, 7.0, 7.0}), 0.0);
}

TEST(Slope, AnOutlierDoesNotMoveIt)
{
    EXPECT_DOUBLE_EQ(slope({1.0, 2.0, 300.0, 4.0, 5.0, 6.0, 7.0}), 1.0);
}

TEST(Slope, NeedsTwoValues)
{
    EXPECT_THROW(slope({1.0}), std::invalid_argument);
}
