#include "samples/pointCodes.h"

#include <gtest/gtest.h>

namespace
{
using Samples::colorCode;
using Samples::octahedralNormal;
using Samples::positionCode;
using Samples::PositionCode;

TEST(PointCodes, PositionOfAPointOfARealCloud)
{
    // upper halves 5, 67, 10; lower halves 0x80d9, 0xbe0c, 0x0a18
    const PositionCode expected{0x0000000000080873, 0x0000612cb0245e81};

    EXPECT_EQ(positionCode(360665, 4439564, 657944), expected);
}

TEST(PointCodes, PositionsTakeXInTheLowestBit)
{
    EXPECT_EQ(positionCode(1, 0, 0), (PositionCode{0, 1}));
    EXPECT_EQ(positionCode(0, 1, 0), (PositionCode{0, 2}));
    EXPECT_EQ(positionCode(0, 0, 1), (PositionCode{0, 4}));
    EXPECT_EQ(positionCode(1U << 16U, 0, 0), (PositionCode{1, 0}));
}

TEST(PointCodes, PositionsFillFortyEightBitsOfBothWords)
{
    const PositionCode expected{0x0000ffffffffffff, 0x0000ffffffffffff};

    EXPECT_EQ(positionCode(0xffffffff, 0xffffffff, 0xffffffff), expected);
}

TEST(PointCodes, ColorOfAPointOfARealCloud)
{
    EXPECT_EQ(colorCode(114, 125, 100), 0x1FB58AU);
}

TEST(PointCodes, ColorWithSixteenBitsAChannel)
{
    EXPECT_EQ(colorCode(65535, 0, 256), 0x24924D249249U);
}

TEST(PointCodes, NormalsAlongTheAxes)
{
    EXPECT_EQ(octahedralNormal(1, 0, 0), 0xff80);
    EXPECT_EQ(octahedralNormal(-1, 0, 0), 0x0080);
    EXPECT_EQ(octahedralNormal(0, 1, 0), 0x80ff);
    EXPECT_EQ(octahedralNormal(0, -1, 0), 0x8000);
    EXPECT_EQ(octahedralNormal(0, 0, 1), 0x8080);
}

TEST(PointCodes, NormalStraightDownLiesInACornerOfTheSquare)
{
    EXPECT_EQ(octahedralNormal(0, 0, -1), 0xffff);
}

TEST(PointCodes, NormalInTheLowerHalfIsFoldedOverTheDiagonal)
{
    // (2, 1, -1) / 4 gives u = 0.5, v = 0.25, folded to 1 - 0.25 and 1 - 0.5; 1.75 x 127.5 = 223.1, 1.5 x
    // 127.5 = 191.25
    EXPECT_EQ(octahedralNormal(2, 1, -1), 223 << 8 | 191);
}

TEST(PointCodes, NoNormalIsWrittenAsUp)
{
    EXPECT_EQ(octahedralNormal(0, 0, 0), octahedralNormal(0, 0, 1));
}
}  // namespace
