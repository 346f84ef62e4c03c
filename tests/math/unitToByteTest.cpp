#include "math/unitToByte.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{
TEST(UnitToByte, GivesBackEveryByte)
{
    for (int byte = 0; byte <= 255; ++byte)
    {
        EXPECT_EQ(Math::unitToByte(static_cast<float>(byte) / 255.0F), byte);
    }
}

TEST(UnitToByte, RoundsToTheNearestAndTiesToEven)
{
    EXPECT_EQ(Math::unitToByte(0.5F), 128);  // 127.5
    EXPECT_EQ(Math::unitToByte(0.4999F), 127);
    EXPECT_EQ(Math::unitToByte(0.001F), 0);
    EXPECT_EQ(Math::unitToByte(0.9999F), 255);
}

TEST(UnitToByte, ClampsAndTakesNanAsZero)
{
    EXPECT_EQ(Math::unitToByte(-1.0F), 0);
    EXPECT_EQ(Math::unitToByte(1e30F), 255);
    EXPECT_EQ(Math::unitToByte(std::numeric_limits<float>::infinity()), 255);
    EXPECT_EQ(Math::unitToByte(std::numeric_limits<float>::quiet_NaN()), 0);
}
}  // namespace
