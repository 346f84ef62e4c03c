#include "render/renderer/SearchSquare.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace Render
{
namespace
{
constexpr std::uint64_t kHuge = std::numeric_limits<std::uint64_t>::max();

struct Row
{
    std::string name;
    std::uint64_t x;
    std::uint64_t y;
    std::uint64_t tolerance;
    SearchSquare expected;  ///< in a picture of 100 x 50
};

class SearchSquareRows : public testing::TestWithParam<Row>
{
};
}  // namespace

TEST_P(SearchSquareRows, IsHalfOpenAndInsideThePicture)
{
    const Row& row = GetParam();

    EXPECT_EQ(searchSquare(row.x, row.y, row.tolerance, 100, 50), row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    SearchSquare,
    SearchSquareRows,
    testing::Values(
        Row{"inTheMiddle", 40, 20, 3, {37, 17, 43, 23}},
        Row{"ofToleranceOneHasFourPixels", 40, 20, 1, {39, 19, 41, 21}},
        Row{"withoutToleranceIsEmpty", 40, 20, 0, {40, 20, 40, 20}},
        Row{"atTheUpperLeftCorner", 0, 0, 2, {0, 0, 2, 2}},
        Row{"atTheLowerRightCornerLacksLastColumnAndRow", 99, 49, 2, {97, 47, 99, 49}},
        Row{"beyondTheRightBorderStillReachesIn", 101, 20, 5, {96, 15, 99, 25}},
        Row{"farBeyondTheBorderIsEmpty", 200, 200, 5, {99, 49, 99, 49}},
        Row{"ofHugeToleranceIsThePictureWithoutLastColumnAndRow", 40, 20, kHuge, {0, 0, 99, 49}},
        Row{"atAHugePixelIsEmpty", kHuge, kHuge, 3, {99, 49, 99, 49}},
        Row{"atAHugePixelWithHugeTolerance", kHuge, kHuge, kHuge, {0, 0, 99, 49}}
    ),
    [](const testing::TestParamInfo<Row>& row) { return row.param.name; }
);

TEST(SearchSquare, CountsItsPixels)
{
    EXPECT_EQ((SearchSquare{37, 17, 43, 22}.size()), 30U);
    EXPECT_EQ((SearchSquare{99, 49, 99, 55}.size()), 0U);
}

TEST(SearchSquare, IsEmptyWithoutWidthOrHeight)
{
    EXPECT_TRUE((SearchSquare{5, 5, 5, 9}.isEmpty()));
    EXPECT_TRUE((SearchSquare{5, 5, 9, 5}.isEmpty()));
    EXPECT_FALSE((SearchSquare{5, 5, 6, 6}.isEmpty()));
}

TEST(SearchSquare, OfAPictureWithOnePixelIsEmpty)
{
    EXPECT_TRUE(searchSquare(0, 0, 10, 1, 1).isEmpty());
}

TEST(SearchSquare, OfAPictureWithoutPixelsIsEmpty)
{
    EXPECT_TRUE(searchSquare(0, 0, 10, 0, 0).isEmpty());
    EXPECT_TRUE(searchSquare(0, 0, 10, 10, 0).isEmpty());
}
}  // namespace Render
