#include "render/scene/BoxInView.h"

#include <gtest/gtest.h>

#include <numbers>

namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Point = Math::Point<float, 3>;
using Render::BoxInView;

constexpr float kSqrt2 = std::numbers::sqrt2_v<float>;
const Box kCube(Point(-1, -1, -1), Point(1, 1, 1));

void expectNear(const Point& found, const Point& expected)
{
    EXPECT_NEAR(found.x, expected.x, 1e-5f);
    EXPECT_NEAR(found.y, expected.y, 1e-5f);
    EXPECT_NEAR(found.z, expected.z, 1e-5f);
}

/// A square in the plane z = 0, looked down at by 45 degrees towards +y.
BoxInView tiltedSquare()
{
    return BoxInView(
        Box(Point(-1, -1, 0), Point(1, 1, 0)),
        Eigen::Vector3f(0, 1, -1) / kSqrt2,
        Eigen::Vector3f::UnitZ(),
        Eigen::Vector2f(1.0f, 0.5f)
    );
}
}  // namespace

TEST(BoxInView, TheNearFaceOfACubeDecidesFromWhere)
{
    const BoxInView view(
        kCube, -Eigen::Vector3f::UnitZ(), Eigen::Vector3f::UnitY(), Eigen::Vector2f(1.0f, 0.5f)
    );

    // The upper edge of the face at z = 1 lies 1 above the axis, which half the field of view reaches
    // after 2.
    expectNear(view.eye(), Point(0, 0, 3));
    EXPECT_FLOAT_EQ(view.distance(), 3.0f);
}

TEST(BoxInView, ACubeOnItsEdgeIsWiderThanItsSides)
{
    const BoxInView view(
        kCube, Eigen::Vector3f(-1, 0, -1) / kSqrt2, Eigen::Vector3f::UnitY(), Eigen::Vector2f(1.0f, 1.0f)
    );

    EXPECT_NEAR(view.size().x(), 2.0f * kSqrt2, 1e-5f);
    EXPECT_NEAR(view.size().y(), 2.0f, 1e-5f);
    EXPECT_NEAR(view.distance(), 1.0f + kSqrt2, 1e-5f);  // the ends of the nearest edge
}

TEST(BoxInView, TheEyeMovesAcrossWhereTheNearSideIsLarger)
{
    // Upwards the edges lie at -1/sqrt(2) and 1/sqrt(2), and so deep: between the planes through them the eye
    // is 1/sqrt(8) lower than the centre. Across, the near corners ask for 1 + 1/sqrt(2) of depth, which is
    // more than the sqrt(2) that both edges need.
    const float back = 1.0f + 1.0f / kSqrt2;
    expectNear(tiltedSquare().eye(), Point(0, -back / kSqrt2 - 0.25f, back / kSqrt2 - 0.25f));
}

TEST(BoxInView, AnEyeThatLooksAtTheCentreStandsFartherAway)
{
    // The near edge lies 1/sqrt(2) below the axis, which half the field of view reaches after twice that.
    EXPECT_NEAR(tiltedSquare().distance(), 3.0f / kSqrt2, 1e-5f);
}

TEST(BoxInView, ThePlaceOfTheBoxMovesTheEyeAndNothingElse)
{
    const BoxInView moved(
        Box(Point(99, 199, 299), Point(101, 201, 301)),
        -Eigen::Vector3f::UnitZ(),
        Eigen::Vector3f::UnitY(),
        Eigen::Vector2f(1.0f, 0.5f)
    );

    expectNear(moved.eye(), Point(100, 200, 303));
    EXPECT_FLOAT_EQ(moved.distance(), 3.0f);
}
