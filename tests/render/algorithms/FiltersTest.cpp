#include "render/pointcloud/FunctionFilter.h"
#include "render/pointcloud/filters/BoxFilter.h"
#include "render/pointcloud/filters/IntersectionFilter.h"
#include "render/pointcloud/filters/OrientedBoxFilter.h"
#include "render/pointcloud/filters/PolytopeFilter.h"
#include "render/pointcloud/filters/PrismFilter.h"
#include "render/pointcloud/filters/SphereFilter.h"
#include "render/pointcloud/filters/UnionFilter.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
using Octree::BoxTestResult;
using Box = Math::NBoundingBox<float, 3>;
using Point = Math::Point<float, 3>;
using Corner = Math::Point<float, 2>;
using HalfSpace = Math::HalfSpace<double, 3>;
using Polytope = Math::ConvexPolytope<double, 3>;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

float above(float value)
{
    return std::nextafter(value, kInfinity);
}

float below(float value)
{
    return std::nextafter(value, -kInfinity);
}

Box cube(float min, float max)
{
    return {{min, min, min}, {max, max, max}};
}

/// A quarter turn about z: the box's first axis is y, its second -x.
OrientedBoxFilter turnedBox()
{
    Eigen::Matrix3d axes;
    axes << 0, -1, 0, 1, 0, 0, 0, 0, 1;
    return {{10, 20, 30}, axes, {4, 2, 1}};
}

/// The corner of the first octant that x + y + z <= 3 cuts off.
PolytopeFilter tetrahedron()
{
    return PolytopeFilter(Polytope({{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {-1, -1, -1, 3}}));
}

/// An L: the square from 0 to 4 without its upper right quarter, from height 1 to 5.
PrismFilter standingL()
{
    return {{{0, 0}, {4, 0}, {4, 2}, {2, 2}, {2, 4}, {0, 4}}, 1, 5};
}

std::vector<std::unique_ptr<IFilter>> filters(std::unique_ptr<IFilter> a, std::unique_ptr<IFilter> b)
{
    std::vector<std::unique_ptr<IFilter>> result;
    result.push_back(std::move(a));
    result.push_back(std::move(b));
    return result;
}

std::unique_ptr<IFilter> boxFilter(float min, float max)
{
    return std::make_unique<BoxFilter>(cube(min, max));
}

/// Boxes and points of them never contradict each other.
void expectConsistent(IFilter&& filter, float reach)
{
    std::mt19937 generator(7);
    std::uniform_real_distribution<float> anywhere(-reach, reach);
    int decided = 0;
    for (int i = 0; i < 4000; ++i)
    {
        Box box;
        box.extend(Point(anywhere(generator), anywhere(generator), anywhere(generator)));
        const float size = std::abs(anywhere(generator)) * 0.2F;
        const Point min = box.min();
        box.extend(Point(min.x + size, min.y + size * 0.5F, min.z + size * 0.3F));
        const BoxTestResult result = filter.testBox(box);
        decided += result != BoxTestResult::Border ? 1 : 0;
        for (int k = 0; k < 30 && result != BoxTestResult::Border; ++k)
        {
            Point point = box.corner(static_cast<std::size_t>(k) % 8);
            for (std::size_t axis = 0; k >= 8 && axis < 3; ++axis)
            {
                std::uniform_real_distribution<float> within(box.min()[axis], box.max()[axis]);
                point[axis] = within(generator);
            }
            ASSERT_EQ(filter.testPosition(point), result == BoxTestResult::Inside)
                << point.x << " " << point.y << " " << point.z;
        }
    }
    EXPECT_GT(decided, 400);
}
}  // namespace

TEST(BoxFilter, BordersBelongToTheBox)
{
    BoxFilter filter(Box({1, 2, 3}, {4, 5, 6}));

    EXPECT_TRUE(filter.testPosition({2, 3, 4}));
    EXPECT_TRUE(filter.testPosition({1, 2, 3}));
    EXPECT_TRUE(filter.testPosition({4, 5, 6}));
    EXPECT_FALSE(filter.testPosition({below(1.0F), 3, 4}));
    EXPECT_FALSE(filter.testPosition({above(4.0F), 3, 4}));
    EXPECT_FALSE(filter.testPosition({2, below(2.0F), 4}));
    EXPECT_FALSE(filter.testPosition({2, above(5.0F), 4}));
    EXPECT_FALSE(filter.testPosition({2, 3, below(3.0F)}));
    EXPECT_FALSE(filter.testPosition({2, 3, above(6.0F)}));
}

TEST(BoxFilter, BoxesAreInsideUpToTheBorderAndOutsideBeyondIt)
{
    BoxFilter filter(cube(0, 8));

    EXPECT_EQ(filter.testBox(cube(0, 8)), BoxTestResult::Inside);
    EXPECT_EQ(filter.testBox(cube(2, 3)), BoxTestResult::Inside);
    EXPECT_EQ(filter.testBox(cube(0, above(8.0F))), BoxTestResult::Border);
    EXPECT_EQ(filter.testBox(cube(-1, 9)), BoxTestResult::Border);
    EXPECT_EQ(filter.testBox(cube(8, 9)), BoxTestResult::Border);
    EXPECT_EQ(filter.testBox(cube(above(8.0F), 9)), BoxTestResult::Outside);
    EXPECT_EQ(filter.testBox(Box({1, 1, -3}, {2, 2, -1})), BoxTestResult::Outside);
}

TEST(BoxFilter, AnInvertedBoxHoldsNothing)
{
    BoxFilter filter(Box({0, 0, 5}, {8, 8, 4}));

    EXPECT_FALSE(filter.testPosition({1, 1, 4.5F}));
    EXPECT_EQ(filter.testBox(cube(-10, 10)), BoxTestResult::Outside);
}

TEST(BoxFilter, ABoxWithoutVolumeHoldsItsPoint)
{
    BoxFilter filter(cube(3, 3));

    EXPECT_TRUE(filter.testPosition({3, 3, 3}));
    EXPECT_FALSE(filter.testPosition({3, 3, above(3.0F)}));
    EXPECT_EQ(filter.testBox(cube(0, 8)), BoxTestResult::Border);
}

TEST(BoxFilter, InfiniteSidesHoldEverythingThere)
{
    BoxFilter filter(Box({-kInfinity, -kInfinity, 0}, {kInfinity, kInfinity, kInfinity}));

    EXPECT_TRUE(filter.testPosition({1e30F, -1e30F, 0}));
    EXPECT_EQ(filter.testBox(cube(0, 1e30F)), BoxTestResult::Inside);
    EXPECT_EQ(filter.testBox(cube(-2, -1)), BoxTestResult::Outside);
}

TEST(BoxFilter, NanIsRefusedAsACornerAndHeldByNoBox)
{
    EXPECT_THROW(BoxFilter(Box({0, kNan, 0}, {1, 1, 1})), std::invalid_argument);
    EXPECT_FALSE(BoxFilter(cube(-kInfinity, kInfinity)).testPosition({0, kNan, 0}));
}

TEST(OrientedBoxFilter, BordersBelongToTheTurnedBox)
{
    OrientedBoxFilter filter = turnedBox();  // x 8 to 12, y 16 to 24, z 29 to 31

    EXPECT_TRUE(filter.testPosition({10, 20, 30}));
    EXPECT_TRUE(filter.testPosition({8, 16, 29}));
    EXPECT_TRUE(filter.testPosition({12, 24, 31}));
    EXPECT_FALSE(filter.testPosition({above(12.0F), 20, 30}));
    EXPECT_FALSE(filter.testPosition({10, above(24.0F), 30}));
    EXPECT_FALSE(filter.testPosition({10, 20, below(29.0F)}));
}

TEST(OrientedBoxFilter, ADiamondHoldsItsMiddleAndNotTheCornersOfItsBounds)
{
    const double s = std::sqrt(0.5);
    Eigen::Matrix3d axes;
    axes << s, -s, 0, s, s, 0, 0, 0, 1;
    OrientedBoxFilter filter({0, 0, 0}, axes, {1, 1, 1});  // |x| + |y| <= sqrt 2

    EXPECT_TRUE(filter.testPosition({1.414F, 0, 0}));
    EXPECT_FALSE(filter.testPosition({1.415F, 0, 0}));
    EXPECT_TRUE(filter.testPosition({0.7F, 0.7F, 1}));
    EXPECT_FALSE(filter.testPosition({0.75F, 0.75F, 0}));
    EXPECT_EQ(filter.testBox(cube(-0.5F, 0.5F)), BoxTestResult::Inside);
    EXPECT_EQ(filter.testBox(Box({0.8F, 0.8F, 0}, {1, 1, 1})), BoxTestResult::Outside);
    EXPECT_EQ(filter.testBox(cube(0, 1)), BoxTestResult::Border);
}

TEST(OrientedBoxFilter, BoxesAreInsideUpToTheBorderAndOutsideBeyondIt)
{
    OrientedBoxFilter filter = turnedBox();

    EXPECT_EQ(filter.testBox(Box({8, 16, 29}, {12, 24, 31})), BoxTestResult::Inside);
    EXPECT_EQ(filter.testBox(Box({8, 16, 29}, {12, above(24.0F), 31})), BoxTestResult::Border);
    EXPECT_EQ(filter.testBox(Box({12, 20, 30}, {13, 21, 31})), BoxTestResult::Border);
    EXPECT_EQ(filter.testBox(Box({above(12.0F), 20, 30}, {13, 21, 31})), BoxTestResult::Outside);
}

TEST(OrientedBoxFilter, ANegativeSizeHoldsNothing)
{
    OrientedBoxFilter filter({0, 0, 0}, Eigen::Matrix3d::Identity(), {1, -1, 1});

    EXPECT_FALSE(filter.testPosition({0, 0, 0}));
    EXPECT_EQ(filter.testBox(cube(-9, 9)), BoxTestResult::Outside);
}

TEST(OrientedBoxFilter, SkewLongOrNanAxesAreRefused)
{
    Eigen::Matrix3d skew = Eigen::Matrix3d::Identity();
    skew(0, 1) = 0.1;
    Eigen::Matrix3d nan = Eigen::Matrix3d::Identity();
    nan(2, 2) = std::numeric_limits<double>::quiet_NaN();
    const Eigen::Vector3d ones(1, 1, 1);

    EXPECT_THROW(OrientedBoxFilter({0, 0, 0}, skew, ones), std::invalid_argument);
    EXPECT_THROW(
        OrientedBoxFilter({0, 0, 0}, 2.0 * Eigen::Matrix3d::Identity(), ones), std::invalid_argument
    );
    EXPECT_THROW(OrientedBoxFilter({0, 0, 0}, nan, ones), std::invalid_argument);
    EXPECT_THROW(OrientedBoxFilter({kNan, 0, 0}, Eigen::Matrix3d::Identity(), ones), std::invalid_argument);
}

TEST(SphereFilter, TheSurfaceBelongsToTheBall)
{
    SphereFilter filter({1, 2, 3}, 7.0);  // 2, 3, 6: 4 + 9 + 36 = 49

    EXPECT_TRUE(filter.testPosition({3, 5, 9}));
    EXPECT_TRUE(filter.testPosition({-6, 2, 3}));
    EXPECT_FALSE(filter.testPosition({above(3.0F), 5, 9}));
    EXPECT_FALSE(filter.testPosition({below(-6.0F), 2, 3}));
    EXPECT_FALSE(filter.testPosition({kNan, 2, 3}));
}

TEST(SphereFilter, BoxesAreJudgedByTheirNearestAndFarthestPoint)
{
    SphereFilter filter({0, 0, 0}, 7.0);

    EXPECT_EQ(filter.testBox(Box({-2, -3, -6}, {2, 3, 6})), BoxTestResult::Inside);
    EXPECT_EQ(filter.testBox(Box({-2, -3, -6}, {2, 3, above(6.0F)})), BoxTestResult::Border);
    EXPECT_EQ(filter.testBox(Box({2, 3, 6}, {9, 9, 9})), BoxTestResult::Border);
    EXPECT_EQ(filter.testBox(Box({2, 3, above(6.0F)}, {9, 9, 9})), BoxTestResult::Outside);
    EXPECT_EQ(filter.testBox(cube(5, 9)), BoxTestResult::Outside);  // though its bounds overlap
    EXPECT_EQ(filter.testBox(cube(-9, 9)), BoxTestResult::Border);
}

TEST(SphereFilter, ARadiusOfZeroLeavesTheCentre)
{
    SphereFilter filter({1, 2, 3}, 0.0);

    EXPECT_TRUE(filter.testPosition({1, 2, 3}));
    EXPECT_FALSE(filter.testPosition({1, 2, above(3.0F)}));
}

TEST(SphereFilter, NegativeRadiusAndNanAreRefused)
{
    EXPECT_THROW(SphereFilter({0, 0, 0}, -1.0), std::invalid_argument);
    EXPECT_THROW(SphereFilter({0, 0, 0}, std::nan("")), std::invalid_argument);
    EXPECT_THROW(SphereFilter({kNan, 0, 0}, 1.0), std::invalid_argument);
}

TEST(PolytopeFilter, PlanesBelongToTheRegion)
{
    PolytopeFilter filter = tetrahedron();

    EXPECT_TRUE(filter.testPosition({0.5F, 0.5F, 0.5F}));
    EXPECT_TRUE(filter.testPosition({0, 0, 0}));
    EXPECT_TRUE(filter.testPosition({1, 1, 1}));
    EXPECT_FALSE(filter.testPosition({1, 1, above(1.0F)}));
    EXPECT_FALSE(filter.testPosition({below(0.0F), 1, 1}));
    EXPECT_FALSE(filter.testPosition({kNan, 1, 1}));
}

TEST(PolytopeFilter, BoxesAreJudgedByTheirInnermostAndOutermostCorner)
{
    PolytopeFilter filter = tetrahedron();

    EXPECT_EQ(filter.testBox(cube(0, 1)), BoxTestResult::Inside);
    EXPECT_EQ(filter.testBox(cube(0, above(1.0F))), BoxTestResult::Border);
    EXPECT_EQ(filter.testBox(cube(1, 2)), BoxTestResult::Border);
    EXPECT_EQ(filter.testBox(cube(above(1.0F), 2)), BoxTestResult::Outside);
    EXPECT_EQ(filter.testBox(Box({-2, 0, 0}, {-1, 1, 1})), BoxTestResult::Outside);
}

TEST(PolytopeFilter, WithoutPlanesItIsTheWholeSpace)
{
    PolytopeFilter filter{Polytope()};

    EXPECT_TRUE(filter.testPosition({1e30F, 0, 0}));
    EXPECT_EQ(filter.testBox(cube(-1e30F, 1e30F)), BoxTestResult::Inside);
}

TEST(PolytopeFilter, ContradictingPlanesHoldNothing)
{
    PolytopeFilter filter(Polytope({{1, 0, 0, -1}, {-1, 0, 0, 0}}));  // x >= 1 and x <= 0

    EXPECT_FALSE(filter.testPosition({0.5F, 0, 0}));
    EXPECT_FALSE(filter.testPosition({1, 0, 0}));
    EXPECT_FALSE(filter.testPosition({0, 0, 0}));
}

TEST(PolytopeFilter, APlaneFarFromTheOriginKeepsItsPlace)
{
    // x >= 0.125 seen from six million units away: single precision could not hold the coefficient
    PolytopeFilter filter(Polytope({{6.0e6, 0, 0, -6.0e6 * 0.125}}));

    EXPECT_TRUE(filter.testPosition({0.125F, 0, 0}));
    EXPECT_FALSE(filter.testPosition({below(0.125F), 0, 0}));
}

TEST(PolytopeFilter, NormalsWithoutLengthAndNanAreRefused)
{
    EXPECT_THROW(PolytopeFilter(Polytope({{0, 0, 0, 1}})), std::invalid_argument);
    EXPECT_THROW(PolytopeFilter(Polytope({{1, 0, 0, std::nan("")}})), std::invalid_argument);
}

TEST(PrismFilter, EdgesCornersAndCapsBelongToTheRegion)
{
    PrismFilter filter = standingL();

    EXPECT_TRUE(filter.testPosition({1, 1, 3}));
    EXPECT_TRUE(filter.testPosition({3, 1, 3}));
    EXPECT_TRUE(filter.testPosition({1, 3, 3}));
    for (const Corner corner :
         {Corner(0, 0), Corner(4, 0), Corner(4, 2), Corner(2, 2), Corner(2, 4), Corner(0, 4)})
    {
        EXPECT_TRUE(filter.testPosition({corner.x, corner.y, 3}));
    }
    EXPECT_TRUE(filter.testPosition({3, 2, 3}));
    EXPECT_TRUE(filter.testPosition({2, 3, 3}));
    EXPECT_TRUE(filter.testPosition({0, 3, 3}));
    EXPECT_TRUE(filter.testPosition({1, 1, 1}));
    EXPECT_TRUE(filter.testPosition({1, 1, 5}));
}

TEST(PrismFilter, JustBeyondEdgesAndCapsIsOutside)
{
    PrismFilter filter = standingL();

    EXPECT_FALSE(filter.testPosition({3, above(2.0F), 3}));
    EXPECT_FALSE(filter.testPosition({above(2.0F), 3, 3}));
    EXPECT_FALSE(filter.testPosition({below(0.0F), 2, 3}));  // level with two corners
    EXPECT_FALSE(filter.testPosition({-1, 4, 3}));
    EXPECT_FALSE(filter.testPosition({-1, 0, 3}));
    EXPECT_FALSE(filter.testPosition({5, 2, 3}));
    EXPECT_FALSE(filter.testPosition({3, 3, 3}));
    EXPECT_FALSE(filter.testPosition({1, 1, below(1.0F)}));
    EXPECT_FALSE(filter.testPosition({1, 1, above(5.0F)}));
    EXPECT_FALSE(filter.testPosition({kNan, 1, 3}));
    EXPECT_FALSE(filter.testPosition({1, 1, kNan}));
}

TEST(PrismFilter, TheOrderOfCornersAndARepeatedLastOneDoNotMatter)
{
    PrismFilter clockwise({{0, 0}, {0, 4}, {4, 4}, {4, 0}, {0, 0}}, 0, 1);

    EXPECT_TRUE(clockwise.testPosition({2, 2, 0}));
    EXPECT_TRUE(clockwise.testPosition({4, 4, 1}));
    EXPECT_FALSE(clockwise.testPosition({above(4.0F), 2, 0}));
}

TEST(PrismFilter, APointOnASlantedEdgeIsOnTheBorder)
{
    PrismFilter filter({{0, 0}, {8, 4}, {0, 4}}, 0, 1);

    EXPECT_TRUE(filter.testPosition({2, 1, 0}));
    EXPECT_FALSE(filter.testPosition({above(2.0F), 1, 0}));
    EXPECT_TRUE(filter.testPosition({below(2.0F), 1, 0}));
}

TEST(PrismFilter, WhatIsEnclosedTwiceIsOutside)
{
    // a square gone round twice
    PrismFilter filter({{0, 0}, {4, 0}, {4, 4}, {0, 4}, {0, 0}, {4, 0}, {4, 4}, {0, 4}}, 0, 1);

    EXPECT_FALSE(filter.testPosition({2, 2, 0}));
}

TEST(PrismFilter, BoxesAreJudgedByEdgesAndHeights)
{
    PrismFilter filter = standingL();

    EXPECT_EQ(filter.testBox(Box({0.5F, 0.5F, 1}, {1.5F, 3.5F, 5})), BoxTestResult::Inside);
    EXPECT_EQ(filter.testBox(Box({0.5F, 0.5F, 1}, {1.5F, 3.5F, above(5.0F)})), BoxTestResult::Border);
    EXPECT_EQ(filter.testBox(Box({0, 0.5F, 2}, {1, 1, 3})), BoxTestResult::Border);      // touches an edge
    EXPECT_EQ(filter.testBox(Box({1, 1, 2}, {3, 3, 3})), BoxTestResult::Border);         // over the notch
    EXPECT_EQ(filter.testBox(Box({-9, -9, -9}, {9, 9, 9})), BoxTestResult::Border);      // holds it all
    EXPECT_EQ(filter.testBox(Box({2.5F, 2.5F, 2}, {3, 3, 3})), BoxTestResult::Outside);  // in the notch
    EXPECT_EQ(filter.testBox(Box({1, 1, above(5.0F)}, {2, 2, 9})), BoxTestResult::Outside);
    EXPECT_EQ(filter.testBox(Box({5, 1, 2}, {6, 2, 3})), BoxTestResult::Outside);
}

TEST(PrismFilter, InvertedHeightsHoldNothing)
{
    PrismFilter filter({{0, 0}, {4, 0}, {0, 4}}, 5, 1);

    EXPECT_FALSE(filter.testPosition({1, 1, 3}));
    EXPECT_EQ(filter.testBox(cube(-9, 9)), BoxTestResult::Outside);
}

TEST(PrismFilter, PolygonsWithFewerThanThreeDifferentCornersAreRefused)
{
    const auto make = [](std::vector<Corner> polygon) { PrismFilter(std::move(polygon), 0, 1); };

    EXPECT_THROW(make({}), std::invalid_argument);
    EXPECT_THROW(make({{0, 0}, {1, 0}}), std::invalid_argument);
    EXPECT_THROW(make({{0, 0}, {1, 0}, {1, 0}, {0, 0}}), std::invalid_argument);
    EXPECT_THROW(make({{0, 0}, {1, 0}, {0, 0}, {1, 0}}), std::invalid_argument);
    EXPECT_EQ(
        messageOf<std::invalid_argument>(
            [&] {
                make({{0, 0}});
            }
        ),
        "PrismFilter: a polygon needs at least three different corners"
    );
}

TEST(PrismFilter, CornersAndHeightsThatAreNotNumbersAreRefused)
{
    EXPECT_THROW(PrismFilter({{0, 0}, {1, kNan}, {1, 1}}, 0, 1), std::invalid_argument);
    EXPECT_THROW(PrismFilter({{0, 0}, {1, kInfinity}, {1, 1}}, 0, 1), std::invalid_argument);
    EXPECT_THROW(PrismFilter({{0, 0}, {1, 0}, {1, 1}}, kNan, 1), std::invalid_argument);
}

TEST(PrismFilter, ACollapsedPolygonHoldsItsLine)
{
    PrismFilter filter({{0, 0}, {2, 2}, {4, 4}}, 0, 1);

    EXPECT_TRUE(filter.testPosition({3, 3, 0}));
    EXPECT_FALSE(filter.testPosition({3, above(3.0F), 0}));
    EXPECT_FALSE(filter.testPosition({5, 5, 0}));
}

TEST(PrismFilter, AnEdgeBesideABoxCountsTheSameForAllItsPoints)
{
    // Seen from the far corner (1e38, -1e38) the points near the origin are one, but not the box's far side.
    PrismFilter filter({{1e38F, -1e38F}, {0.02F, 0.02F}, {-1e38F, 0.03F}}, 0, 1);

    EXPECT_TRUE(filter.testPosition({0.01F, 0.01F, 0.5F}));
    EXPECT_TRUE(filter.testPosition({-1.5e22F, 0.01F, 0.5F}));
    EXPECT_EQ(filter.testBox({{-1.5e22F, 0.0F, 0.25F}, {0.01F, 0.01F, 0.75F}}), BoxTestResult::Inside);
}

TEST(PrismFilter, BoxesNeverContradictTheirPointsHoweverDifferentTheMagnitudesAre)
{
    std::mt19937 random(20260101);
    std::uniform_real_distribution<float> exponent(-38.0F, 38.0F);
    const auto anyNumber = [&]
    {
        const float size = std::pow(10.0F, exponent(random));
        return random() % 4 == 0 ? 0.0F : random() % 2 == 0 ? size : -size;
    };
    std::size_t accepted = 0;
    for (int round = 0; round < 20'000; ++round)
    {
        std::vector<Corner> corners;
        for (std::size_t i = 0; i < 3 + random() % 3; ++i)
        {
            corners.emplace_back(anyNumber(), anyNumber());
        }
        std::unique_ptr<PrismFilter> filter;
        try
        {
            filter = std::make_unique<PrismFilter>(corners, 0.0F, 1.0F);
        }
        catch (const std::invalid_argument&)
        {
            continue;  // corners that are the same
        }
        const auto [left, right] = std::minmax({anyNumber(), anyNumber()});
        const auto [lower, upper] = std::minmax({anyNumber(), anyNumber()});
        const BoxTestResult result = filter->testBox({{left, lower, 0.25F}, {right, upper, 0.75F}});
        for (int i = 0; i < 20 && result != BoxTestResult::Border; ++i)
        {
            const Point point{
                std::clamp(
                    i == 0   ? left
                    : i == 1 ? right
                             : anyNumber(),
                    left,
                    right
                ),
                std::clamp(
                    i == 0   ? lower
                    : i == 1 ? upper
                             : anyNumber(),
                    lower,
                    upper
                ),
                0.5F};
            const bool isAccepted = filter->testPosition(point);
            accepted += isAccepted ? 1 : 0;
            ASSERT_EQ(isAccepted, result == BoxTestResult::Inside)
                << "round " << round << ", point " << point.x << ", " << point.y;
        }
    }
    EXPECT_GT(accepted, 1000U);
}

TEST(IntersectionFilter, HoldsWhatAllItsFiltersHold)
{
    IntersectionFilter filter(filters(boxFilter(0, 4), boxFilter(2, 6)));

    EXPECT_TRUE(filter.testPosition({3, 3, 3}));
    EXPECT_TRUE(filter.testPosition({2, 4, 2}));
    EXPECT_FALSE(filter.testPosition({1, 3, 3}));
    EXPECT_FALSE(filter.testPosition({5, 3, 3}));
}

TEST(IntersectionFilter, OneThatIsOutsideDecidesAndAllMustBeInside)
{
    IntersectionFilter filter(filters(boxFilter(0, 4), boxFilter(2, 6)));

    EXPECT_EQ(filter.testBox(cube(2, 4)), BoxTestResult::Inside);
    EXPECT_EQ(filter.testBox(cube(1, 3)), BoxTestResult::Border);
    EXPECT_EQ(filter.testBox(cube(3, 5)), BoxTestResult::Border);
    EXPECT_EQ(filter.testBox(cube(0, 1)), BoxTestResult::Outside);
    EXPECT_EQ(filter.testBox(cube(5, 6)), BoxTestResult::Outside);
}

TEST(IntersectionFilter, OfNothingIsTheWholeSpaceAndAnEmptyPointerIsRefused)
{
    std::vector<std::unique_ptr<IFilter>> none;
    IntersectionFilter all(std::move(none));

    EXPECT_TRUE(all.testPosition({1e30F, 0, 0}));
    EXPECT_EQ(all.testBox(cube(-1, 1)), BoxTestResult::Inside);
    EXPECT_THROW(IntersectionFilter(filters(nullptr, boxFilter(0, 1))), std::invalid_argument);
}

TEST(Filters, BoxesNeverContradictTheirPoints)
{
    Eigen::Matrix3d axes;
    axes << 2, -2, 1, 1, 2, 2, 2, 1, -2;
    axes /= 3.0;
    expectConsistent(BoxFilter(Box({-30, -50, -20}, {40, 10, 60})), 100);
    expectConsistent(OrientedBoxFilter({5, -10, 3}, axes, {70, 40, 50}), 100);
    expectConsistent(SphereFilter({10, -20, 5}, 60), 100);
    expectConsistent(PolytopeFilter(Polytope({{1, 2, 3, 60}, {-1, 1, -0.5, 50}, {0.1, -0.7, 1, 40}})), 100);
    expectConsistent(PrismFilter({{-80, -70}, {90, -60}, {10, 0}, {60, 80}, {-70, 90}}, -50, 70), 100);
    expectConsistent(
        IntersectionFilter(filters(
            std::make_unique<SphereFilter>(Point(0, 0, 0), 80.0), std::make_unique<BoxFilter>(cube(-60, 50))
        )),
        100
    );
}

TEST(FunctionFilter, TakesWhatTheFunctionAcceptsAndReadsEveryNodeWithoutBounds)
{
    FunctionFilter filter([](const Point& point) { return point.x > 1.0F; });

    EXPECT_TRUE(filter.testPosition({2, 0, 0}));
    EXPECT_FALSE(filter.testPosition({1, 0, 0}));
    EXPECT_EQ(filter.testBox(cube(-9, -8)), BoxTestResult::Border);
}

TEST(FunctionFilter, TakesNothingOutsideItsBounds)
{
    FunctionFilter filter([](const Point&) { return true; }, cube(0, 4));

    EXPECT_TRUE(filter.testPosition({4, 4, 4}));
    EXPECT_FALSE(filter.testPosition({above(4), 4, 4}));
    EXPECT_EQ(filter.testBox(cube(5, 6)), BoxTestResult::Outside);
    EXPECT_EQ(filter.testBox(cube(1, 2)), BoxTestResult::Border);
}

TEST(FunctionFilter, NeedsAFunction)
{
    EXPECT_THROW(FunctionFilter(nullptr), std::invalid_argument);
}

namespace
{
/// A square of the plane from one corner to the other.
std::vector<Math::Point<float, 2>> squareBetween(float min, float max)
{
    return {{min, min}, {max, min}, {max, max}, {min, max}};
}
}  // namespace

TEST(PrismFilter, AHoleIsLeftOutButForItsBorder)
{
    PrismFilter prism(squareBetween(0, 10), 0, 1);
    prism.addHole(squareBetween(4, 6));

    EXPECT_TRUE(prism.testPosition({1, 1, 0.5F}));
    EXPECT_FALSE(prism.testPosition({5, 5, 0.5F}));
    EXPECT_TRUE(prism.testPosition({4, 5, 0.5F}));
    EXPECT_TRUE(prism.testPosition({10, 10, 1}));
    EXPECT_EQ(prism.testBox({{1, 1, 0}, {3, 3, 1}}), Octree::BoxTestResult::Inside);
    EXPECT_EQ(prism.testBox({{4.5F, 4.5F, 0}, {5.5F, 5.5F, 1}}), Octree::BoxTestResult::Outside);
    EXPECT_EQ(prism.testBox({{3, 3, 0}, {5, 5, 1}}), Octree::BoxTestResult::Border);
    EXPECT_EQ(prism.testBox({{3, 3, 0}, {7, 7, 1}}), Octree::BoxTestResult::Border);  // the hole lies within
    EXPECT_THROW(prism.addHole({{0, 0}, {1, 1}}), std::invalid_argument);
}

TEST(UnionFilter, HoldsWhatLiesInOneRegionAtLeast)
{
    std::vector<std::unique_ptr<IFilter>> parts;
    parts.push_back(std::make_unique<PrismFilter>(squareBetween(0, 4), 0, 1));
    parts.push_back(std::make_unique<PrismFilter>(squareBetween(2, 6), 0, 1));
    UnionFilter filter(std::move(parts));

    EXPECT_TRUE(filter.testPosition({1, 1, 0}));
    EXPECT_TRUE(filter.testPosition({3, 3, 0}));  // in both
    EXPECT_TRUE(filter.testPosition({5, 5, 0}));
    EXPECT_FALSE(filter.testPosition({1, 5, 0}));
    EXPECT_EQ(filter.testBox({{3, 3, 0}, {5, 5, 1}}), Octree::BoxTestResult::Inside);
    EXPECT_EQ(filter.testBox({{7, 7, 0}, {8, 8, 1}}), Octree::BoxTestResult::Outside);
    EXPECT_EQ(filter.testBox({{1, 1, 0}, {5, 5, 1}}), Octree::BoxTestResult::Border);
    EXPECT_FALSE(UnionFilter({}).testPosition({0, 0, 0}));
    std::vector<std::unique_ptr<IFilter>> missing(1);
    EXPECT_THROW(UnionFilter{std::move(missing)}, std::invalid_argument);
}
}  // namespace Render
