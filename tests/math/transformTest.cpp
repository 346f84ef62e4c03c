#include "math/transform.h"

#include <Eigen/LU>
#include <gtest/gtest.h>

#include <cmath>

namespace
{
using Box = Math::NBoundingBox<float, 3>;
using HalfSpace = Math::HalfSpace<float, 3>;
using Plane = Math::NPlane<float, 3>;
using Point = Math::Point<float, 3>;
using Polytope = Math::ConvexPolytope<float, 3>;

Eigen::Matrix4f translation(float x, float y, float z)
{
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix.col(3) << x, y, z, 1.0F;
    return matrix;
}

/// Quarter turn about z, x to y, then scaled by 2 and moved.
Eigen::Matrix4f turnScaleMove()
{
    Eigen::Matrix4f matrix;
    matrix << 0.0F, -2.0F, 0.0F, 10.0F,  //
        2.0F, 0.0F, 0.0F, 20.0F,         //
        0.0F, 0.0F, 2.0F, 30.0F,         //
        0.0F, 0.0F, 0.0F, 1.0F;
    return matrix;
}

/// w = z, so x and y are divided by z.
Eigen::Matrix4f projection()
{
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix.row(3) << 0.0F, 0.0F, 1.0F, 0.0F;
    return matrix;
}

TEST(Transform, MovesTurnsAndScalesAPoint)
{
    EXPECT_EQ(Math::transformed(Point(1.0F, 2.0F, 3.0F), turnScaleMove()), Point(6.0F, 22.0F, 36.0F));
}

TEST(Transform, DividesAPointByW)
{
    EXPECT_EQ(Math::transformed(Point(2.0F, 6.0F, 4.0F), projection()), Point(0.5F, 1.5F, 1.0F));
}

TEST(Transform, GivesNoFinitePointForAWOfZero)
{
    const Point point = Math::transformed(Point(2.0F, 6.0F, 0.0F), projection());

    EXPECT_TRUE(std::isinf(point.x));
    EXPECT_TRUE(std::isnan(point.z));
}

TEST(Transform, GivesTheBoxAroundTheTurnedBox)
{
    const Box box(Point(0.0F, 0.0F, 0.0F), Point(1.0F, 2.0F, 3.0F));

    // x' = 10 - 2y, y' = 20 + 2x, z' = 30 + 2z
    EXPECT_EQ(
        Math::transformed(box, turnScaleMove()), Box(Point(6.0F, 20.0F, 30.0F), Point(10.0F, 22.0F, 36.0F))
    );
}

TEST(Transform, GrowsABoxTurnedByAnEighth)
{
    const float s = std::sqrt(0.5F);
    Eigen::Matrix4f turn = Eigen::Matrix4f::Identity();
    turn.topLeftCorner<2, 2>() << s, -s, s, s;

    const Box box = Math::transformed(Box(Point(-1.0F, -1.0F, 0.0F), Point(1.0F, 1.0F, 1.0F)), turn);

    EXPECT_NEAR(box.min().x, -std::sqrt(2.0F), 1e-6F);  // a few roundings near 1
    EXPECT_NEAR(box.max().y, std::sqrt(2.0F), 1e-6F);
    EXPECT_EQ(box.max().z, 1.0F);
}

TEST(Transform, DividesTheCornersOfABoxByW)
{
    const Box box(Point(-1.0F, -1.0F, 1.0F), Point(1.0F, 1.0F, 2.0F));

    // the near face keeps its size, the far one is halved, z becomes 1
    EXPECT_EQ(Math::transformed(box, projection()), Box(Point(-1.0F, -1.0F, 1.0F), Point(1.0F, 1.0F, 1.0F)));
}

TEST(Transform, LeavesAnEmptyBoxEmpty)
{
    const Box flat(Point(0.0F, 5.0F, 0.0F), Point(1.0F, 4.0F, 1.0F));

    EXPECT_EQ(Math::transformed(Box(), turnScaleMove()), Box());
    EXPECT_EQ(Math::transformed(flat, turnScaleMove()), flat);
}

TEST(Transform, MovesAHalfSpaceWithItsPoints)
{
    const HalfSpace rightOfOne(1.0F, 0.0F, 0.0F, -1.0F);

    const HalfSpace moved = Math::transformedByInverse(rightOfOne, translation(-5.0F, 0.0F, 0.0F));

    EXPECT_EQ(moved, HalfSpace(1.0F, 0.0F, 0.0F, -6.0F));
}

TEST(Transform, KeepsPointsOnTheirSideOfATransformedHalfSpace)
{
    const HalfSpace halfSpace(1.0F, -2.0F, 0.5F, 3.0F);
    const Eigen::Matrix4f matrix = turnScaleMove();
    const HalfSpace moved = Math::transformedByInverse(halfSpace, matrix.inverse());
    for (const Point& point : {Point(0.0F, 0.0F, 0.0F), Point(1.0F, 5.0F, 2.0F), Point(-4.0F, 1.0F, 9.0F)})
    {
        // values of the same point are equal, since the inverse cancels the matrix
        EXPECT_NEAR(moved.evaluate(Math::transformed(point, matrix)), halfSpace.evaluate(point), 1e-4F);
    }
}

TEST(Transform, TransformsAPlaneAsItsHalfSpace)
{
    const Plane plane(1.0F, 0.0F, 0.0F, -1.0F);

    EXPECT_EQ(
        Math::transformedByInverse(plane, translation(-5.0F, 0.0F, 0.0F)), Plane(1.0F, 0.0F, 0.0F, -6.0F)
    );
}

TEST(Transform, DoesNotNormalise)
{
    Eigen::Matrix4f halve = Eigen::Matrix4f::Identity();
    halve.diagonal() << 0.5F, 0.5F, 0.5F, 1.0F;  // the inverse of doubling

    EXPECT_EQ(
        Math::transformedByInverse(Plane(0.0F, 0.0F, 1.0F, -3.0F), halve), Plane(0.0F, 0.0F, 0.5F, -3.0F)
    );
}

TEST(Transform, TransformsEveryHalfSpaceOfAPolytope)
{
    const Polytope slab({HalfSpace(1.0F, 0.0F, 0.0F, 0.0F), HalfSpace(-1.0F, 0.0F, 0.0F, 1.0F)});

    const Polytope moved = Math::transformedByInverse(slab, translation(-5.0F, 0.0F, 0.0F));

    ASSERT_EQ(moved.size(), 2U);
    EXPECT_TRUE(moved.contains(Point(5.0F, 0.0F, 0.0F)));
    EXPECT_TRUE(moved.contains(Point(6.0F, 0.0F, 0.0F)));
    EXPECT_FALSE(moved.contains(Point(4.9F, 0.0F, 0.0F)));
    EXPECT_FALSE(moved.contains(Point(6.1F, 0.0F, 0.0F)));
}

TEST(Transform, WithTheMatrixItselfItIsTheSameAsWithTheInverse)
{
    const HalfSpace rightOfOne(1.0F, 0.0F, 0.0F, -1.0F);
    const Eigen::Matrix4f byFive = translation(5.0F, 0.0F, 0.0F);

    const Polytope moved = Math::transformed(Polytope({rightOfOne}), byFive);

    EXPECT_EQ(Math::transformed(rightOfOne, byFive), HalfSpace(1.0F, 0.0F, 0.0F, -6.0F));
    EXPECT_EQ(Math::transformed(Plane(1.0F, 0.0F, 0.0F, -1.0F), byFive), Plane(1.0F, 0.0F, 0.0F, -6.0F));
    EXPECT_TRUE(moved.contains(Point(6.0F, 0.0F, 0.0F)));
    EXPECT_FALSE(moved.contains(Point(5.9F, 0.0F, 0.0F)));
}

TEST(Transform, LeavesTheWholeSpaceWhole)
{
    EXPECT_TRUE(Math::transformedByInverse(Polytope(), turnScaleMove()).empty());
}
}  // namespace
