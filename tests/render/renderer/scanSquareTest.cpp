#include "render/renderer/scanSquare.h"
#include "tests/render/renderer/PositionPicture.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <vector>

namespace Render
{
namespace
{
using Point = Math::Point<float, 3>;

constexpr Point kOrigin{0.0F, 0.0F, 0.0F};
constexpr SearchSquare kAll{0, 0, 4, 3};
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

class ScanSquare : public testing::Test
{
protected:
    PositionPicture mPicture{4, 3};
};
}  // namespace

TEST_F(ScanSquare, FindsNothingWithoutHits)
{
    EXPECT_FALSE(closestHit(mPicture.image(), kAll, kOrigin));
    EXPECT_TRUE(distinctHits(mPicture.image(), kAll).empty());
}

TEST_F(ScanSquare, FindsTheHitNearestToTheEye)
{
    mPicture.set(0, 0, {0.0F, 0.0F, -3.0F});
    mPicture.set(3, 2, {0.0F, 2.0F, 0.0F});
    mPicture.set(2, 1, {5.0F, 0.0F, 0.0F});

    EXPECT_EQ(closestHit(mPicture.image(), kAll, kOrigin), Point(0.0F, 2.0F, 0.0F));
    EXPECT_EQ(closestHit(mPicture.image(), kAll, {4.0F, 0.0F, 0.0F}), Point(5.0F, 0.0F, 0.0F));
}

TEST_F(ScanSquare, PrefersTheFirstOfEquallyNearHitsByColumnsThenRows)
{
    mPicture.set(2, 0, {1.0F, 0.0F, 0.0F});
    mPicture.set(1, 2, {0.0F, 1.0F, 0.0F});
    mPicture.set(1, 1, {0.0F, 0.0F, 1.0F});

    EXPECT_EQ(closestHit(mPicture.image(), kAll, kOrigin), Point(0.0F, 0.0F, 1.0F));
}

TEST_F(ScanSquare, LooksOnlyInsideTheSquare)
{
    mPicture.set(0, 0, {1.0F, 0.0F, 0.0F});
    mPicture.set(1, 1, {2.0F, 0.0F, 0.0F});
    mPicture.set(2, 2, {3.0F, 0.0F, 0.0F});
    const SearchSquare inner{1, 1, 2, 2};

    EXPECT_EQ(closestHit(mPicture.image(), inner, kOrigin), Point(2.0F, 0.0F, 0.0F));
    EXPECT_EQ(distinctHits(mPicture.image(), inner), (std::vector{Point(2.0F, 0.0F, 0.0F)}));
}

TEST_F(ScanSquare, TakesOnlyTexelsWhoseFourthComponentIsAboveZero)
{
    mPicture.set(0, 0, {1.0F, 0.0F, 0.0F}, 0.0F);
    mPicture.set(0, 1, {1.0F, 0.0F, 0.0F}, -1.0F);
    mPicture.set(0, 2, {1.0F, 0.0F, 0.0F}, kNaN);
    mPicture.set(1, 0, {2.0F, 0.0F, 0.0F}, 1e-30F);

    EXPECT_EQ(distinctHits(mPicture.image(), kAll), (std::vector{Point(2.0F, 0.0F, 0.0F)}));
    EXPECT_EQ(closestHit(mPicture.image(), kAll, kOrigin), Point(2.0F, 0.0F, 0.0F));
}

TEST_F(ScanSquare, PassesOverDistancesThatAreNotBelowTheLargestFloat)
{
    mPicture.set(0, 0, {kInfinity, 0.0F, 0.0F});
    mPicture.set(1, 0, {3e38F, 0.0F, 0.0F});
    EXPECT_FALSE(closestHit(mPicture.image(), kAll, kOrigin));

    mPicture.set(2, 0, {7.0F, 0.0F, 0.0F});
    EXPECT_EQ(closestHit(mPicture.image(), kAll, kOrigin), Point(7.0F, 0.0F, 0.0F));
}

TEST_F(ScanSquare, AHitWhoseDistanceIsNotANumberIsFoundIfThereIsNoOther)
{
    mPicture.set(0, 1, {1.0F, kNaN, 3.0F});
    mPicture.set(1, 0, {2.0F, kNaN, 4.0F});

    const std::optional<Point> found = closestHit(mPicture.image(), kAll, kOrigin);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->x, 1.0F);
    EXPECT_EQ(found->z, 3.0F);

    mPicture.set(2, 0, {7.0F, 0.0F, 0.0F});
    EXPECT_EQ(closestHit(mPicture.image(), kAll, kOrigin), Point(7.0F, 0.0F, 0.0F));
}

TEST_F(ScanSquare, ForAnEyeThatIsNotANumberTheFirstHitIsFound)
{
    mPicture.set(1, 0, {2.0F, 0.0F, 0.0F});
    mPicture.set(0, 2, {1.0F, 0.0F, 0.0F});

    EXPECT_EQ(closestHit(mPicture.image(), kAll, {kNaN, 0.0F, 0.0F}), Point(1.0F, 0.0F, 0.0F));
}

TEST_F(ScanSquare, GathersHitsByColumnsThenRows)
{
    mPicture.set(1, 0, {3.0F, 0.0F, 0.0F});
    mPicture.set(0, 2, {2.0F, 0.0F, 0.0F});
    mPicture.set(0, 1, {1.0F, 0.0F, 0.0F});

    EXPECT_EQ(
        distinctHits(mPicture.image(), kAll),
        (std::vector{Point(1.0F, 0.0F, 0.0F), Point(2.0F, 0.0F, 0.0F), Point(3.0F, 0.0F, 0.0F)})
    );
}

TEST_F(ScanSquare, GathersNeighboursInTheScanOnlyOnce)
{
    const Point a(1.0F, 2.0F, 3.0F);
    const Point b(1.0F, 2.0F, 4.0F);
    mPicture.set(0, 0, a);
    mPicture.set(0, 1, a);
    mPicture.set(0, 2, b);
    mPicture.set(1, 0, a);

    EXPECT_EQ(distinctHits(mPicture.image(), kAll), (std::vector{a, b, a}));
}

TEST_F(ScanSquare, HitsWithAGapBetweenThemStillCountAsNeighbours)
{
    const Point a(1.0F, 2.0F, 3.0F);
    mPicture.set(0, 0, a);
    mPicture.set(3, 2, a);

    EXPECT_EQ(distinctHits(mPicture.image(), kAll), (std::vector{a}));
}
}  // namespace Render
