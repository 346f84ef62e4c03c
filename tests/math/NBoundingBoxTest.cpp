#include "math/NBoundingBox.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Point = Math::Point<float, 3>;

constexpr float kLargest = std::numeric_limits<float>::max();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST(NBoundingBox, IsEmptyByDefaultFromLargestToLowest)
{
    const Box box;

    EXPECT_TRUE(box.isEmpty());
    EXPECT_EQ(box.min(), Point(kLargest, kLargest, kLargest));
    EXPECT_EQ(box.max(), Point(-kLargest, -kLargest, -kLargest));
    EXPECT_EQ(box.largestSize(), 0.0F);
}

TEST(NBoundingBox, IsEmptyWhenOneAxisIsTurnedRound)
{
    EXPECT_TRUE(Box(Point(0.0F, 1.0F, 0.0F), Point(5.0F, 0.0F, 5.0F)).isEmpty());
    EXPECT_FALSE(Box(Point(1.0F, 1.0F, 1.0F), Point(1.0F, 1.0F, 1.0F)).isEmpty());
}

TEST(NBoundingBox, LiesInMemoryAsMinThenMax)
{
    const Box box(Point(1.0F, 2.0F, 3.0F), Point(4.0F, 5.0F, 6.0F));
    float values[6];
    std::memcpy(values, &box, sizeof values);

    EXPECT_EQ(values[0], 1.0F);
    EXPECT_EQ(values[5], 6.0F);
}

TEST(NBoundingBox, ExtendsToPoints)
{
    Box box;
    box.extend(Point(1.0F, 2.0F, 3.0F));
    EXPECT_EQ(box, Box(Point(1.0F, 2.0F, 3.0F), Point(1.0F, 2.0F, 3.0F)));

    box.extend(Point(-1.0F, 5.0F, 3.0F));
    EXPECT_EQ(box, Box(Point(-1.0F, 2.0F, 3.0F), Point(1.0F, 5.0F, 3.0F)));
}

TEST(NBoundingBox, IsNotExtendedByNan)
{
    Box box(Point(0.0F, 0.0F, 0.0F), Point(1.0F, 1.0F, 1.0F));

    box.extend(Point(kNan, kNan, kNan));

    EXPECT_EQ(box, Box(Point(0.0F, 0.0F, 0.0F), Point(1.0F, 1.0F, 1.0F)));
}

TEST(NBoundingBox, ExtendsToBoxesButNotToTheEmptyOne)
{
    Box box(Point(0.0F, 0.0F, 0.0F), Point(1.0F, 1.0F, 1.0F));

    box.extend(Box());
    EXPECT_EQ(box, Box(Point(0.0F, 0.0F, 0.0F), Point(1.0F, 1.0F, 1.0F)));

    box.extend(Box(Point(-1.0F, 0.5F, 0.5F), Point(0.5F, 2.0F, 0.75F)));
    EXPECT_EQ(box, Box(Point(-1.0F, 0.0F, 0.0F), Point(1.0F, 2.0F, 1.0F)));
}

TEST(NBoundingBox, MeasuresItsSides)
{
    const Box box(Point(0.0F, 0.0F, 5.0F), Point(1.0F, 3.0F, 4.0F));

    EXPECT_EQ(box.size(0), 1.0F);
    EXPECT_EQ(box.size(1), 3.0F);
    EXPECT_EQ(box.size(2), 0.0F);
    EXPECT_EQ(box.largestSize(), 3.0F);
}

TEST(NBoundingBox, FindsItsCentre)
{
    EXPECT_EQ(Box(Point(0.0F, -2.0F, 5.0F), Point(1.0F, 4.0F, 5.0F)).center(), Point(0.5F, 1.0F, 5.0F));
}

TEST(NBoundingBox, FindsItsCentreWithoutOverflow)
{
    EXPECT_EQ(
        Box(Point(kLargest, -kLargest, 0.75F * kLargest), Point(kLargest, kLargest, 0.5F * kLargest))
            .center(),
        Point(kLargest, 0.0F, 0.625F * kLargest)
    );
    EXPECT_EQ(Box().center(), Point(0.0F, 0.0F, 0.0F));
    EXPECT_EQ(
        Box(Point(kInfinity, 0.0F, 0.0F), Point(kInfinity, 0.0F, 0.0F)).center(), Point(kInfinity, 0.0F, 0.0F)
    );
}

TEST(NBoundingBox, KeepsTheSmallestNumbersInItsCentre)
{
    constexpr float kTiny = std::numeric_limits<float>::denorm_min();

    EXPECT_EQ(Box(Point(kTiny, 0.0F, 0.0F), Point(kTiny, 0.0F, 0.0F)).center().x, kTiny);
    EXPECT_EQ(Box(Point(kTiny, 0.0F, 0.0F), Point(3.0F * kTiny, 0.0F, 0.0F)).center().x, 2.0F * kTiny);
}

TEST(NBoundingBox, ContainsItsBorder)
{
    const Box box(Point(0.0F, 0.0F, 0.0F), Point(1.0F, 1.0F, 1.0F));

    EXPECT_TRUE(box.contains(Point(0.0F, 1.0F, 0.5F)));
    EXPECT_FALSE(box.contains(Point(0.5F, 0.5F, 1.001F)));
    EXPECT_FALSE(box.contains(Point(kNan, 0.5F, 0.5F)));
    EXPECT_FALSE(Box().contains(Point(0.0F, 0.0F, 0.0F)));
}

TEST(NBoundingBox, NumbersItsCornersWithXAsTheHighestBit)
{
    const Box box(Point(0.0F, 0.0F, 0.0F), Point(1.0F, 2.0F, 3.0F));

    EXPECT_EQ(box.corner(0), Point(0.0F, 0.0F, 0.0F));
    EXPECT_EQ(box.corner(1), Point(0.0F, 0.0F, 3.0F));
    EXPECT_EQ(box.corner(2), Point(0.0F, 2.0F, 0.0F));
    EXPECT_EQ(box.corner(4), Point(1.0F, 0.0F, 0.0F));
    EXPECT_EQ(box.corner(7), Point(1.0F, 2.0F, 3.0F));
}

TEST(NBoundingBox, WorksInThePlane)
{
    Math::NBoundingBox<double, 2> box;
    box.extend(Math::Point<double, 2>(1.0, 2.0));
    box.extend(Math::Point<double, 2>(3.0, 8.0));

    EXPECT_EQ(box.center(), (Math::Point<double, 2>(2.0, 5.0)));
    EXPECT_EQ(box.corner(1), (Math::Point<double, 2>(1.0, 8.0)));
}
}  // namespace
