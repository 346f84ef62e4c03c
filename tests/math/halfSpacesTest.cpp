#include "math/ConvexPolytope.h"
#include "math/Frustum.h"
#include "math/HalfSpace.h"
#include "math/NPlane.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{
using HalfSpace = Math::HalfSpace<float, 3>;
using Point = Math::Point<float, 3>;
using Polytope = Math::ConvexPolytope<float, 3>;

TEST(HalfSpace, ContainsWhatIsInFrontOfItsBorderAndTheBorder)
{
    const HalfSpace halfSpace(0.0F, 0.0F, 2.0F, -4.0F);  // z >= 2

    EXPECT_EQ(halfSpace.evaluate(Point(9.0F, 9.0F, 5.0F)), 6.0F);
    EXPECT_TRUE(halfSpace.contains(Point(0.0F, 0.0F, 2.0F)));
    EXPECT_TRUE(halfSpace.contains(Point(0.0F, 0.0F, 3.0F)));
    EXPECT_FALSE(halfSpace.contains(Point(0.0F, 0.0F, 1.9F)));
    EXPECT_FALSE(halfSpace.contains(Point(0.0F, 0.0F, std::numeric_limits<float>::quiet_NaN())));
}

TEST(NPlane, GivesTheSignedDistanceForAUnitNormal)
{
    const Math::NPlane<float, 3> plane(0.0F, 1.0F, 0.0F, -3.0F);

    EXPECT_EQ(plane.evaluate(Point(7.0F, 5.0F, 7.0F)), 2.0F);
    EXPECT_EQ(plane.evaluate(Point(7.0F, 1.0F, 7.0F)), -2.0F);
}

TEST(ConvexPolytope, WithoutHalfSpacesIsTheWholeSpace)
{
    const Polytope polytope;

    EXPECT_TRUE(polytope.empty());
    EXPECT_EQ(polytope.size(), 0U);
    EXPECT_TRUE(polytope.contains(Point(1e30F, -1e30F, 0.0F)));
}

TEST(ConvexPolytope, ContainsThePointsThatSatisfyEveryHalfSpace)
{
    const Polytope corner({HalfSpace(1.0F, 0.0F, 0.0F, 0.0F), HalfSpace(0.0F, 1.0F, 0.0F, -1.0F)});

    EXPECT_TRUE(corner.contains(Point(0.0F, 1.0F, -5.0F)));
    EXPECT_FALSE(corner.contains(Point(-0.1F, 1.0F, 0.0F)));
    EXPECT_FALSE(corner.contains(Point(1.0F, 0.9F, 0.0F)));
}

TEST(ConvexPolytope, EqualsOneWithTheSameHalfSpaces)
{
    const Polytope one({HalfSpace(1.0F, 0.0F, 0.0F, 0.0F)});
    const Polytope same({HalfSpace(1.0F, 0.0F, 0.0F, 0.0F)});
    const Polytope other({HalfSpace(1.0F, 0.0F, 0.0F, 0.5F)});

    EXPECT_EQ(one, same);
    EXPECT_NE(one, other);
    EXPECT_NE(one, Polytope());
}

TEST(Frustum, ContainsThePointsInsideAllSixPlanes)
{
    Math::Frustum<float> cube;  // -1 to 1 on every axis
    cube.planes = {
        HalfSpace(1.0F, 0.0F, 0.0F, 1.0F),
        HalfSpace(-1.0F, 0.0F, 0.0F, 1.0F),
        HalfSpace(0.0F, 1.0F, 0.0F, 1.0F),
        HalfSpace(0.0F, -1.0F, 0.0F, 1.0F),
        HalfSpace(0.0F, 0.0F, -1.0F, 1.0F),
        HalfSpace(0.0F, 0.0F, 1.0F, 1.0F),
    };

    EXPECT_TRUE(cube.contains(Point(1.0F, -1.0F, 0.0F)));
    EXPECT_FALSE(cube.contains(Point(1.1F, 0.0F, 0.0F)));
    EXPECT_FALSE(cube.contains(Point(0.0F, 0.0F, -1.1F)));
    EXPECT_EQ(cube.planes[Math::Frustum<float>::kNear].c, -1.0F);
}
}  // namespace
