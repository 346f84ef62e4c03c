#include "render/scene/Camera.h"

#include <Eigen/LU>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <thread>

namespace Render
{
namespace
{
constexpr float kCotangentOf30Degrees = 1.7320508F;
constexpr float kFewRoundings = 1e-6F;

using Point = Math::Point<float, 3>;
using Box = Math::NBoundingBox<float, 3>;

const Eigen::Vector3f kUp = Eigen::Vector3f::UnitY();

Eigen::Matrix4f translation(float x, float y, float z)
{
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix.col(3) << x, y, z, 1.0F;
    return matrix;
}

/// Depth of the point at the given distance straight ahead of a camera at the origin.
float depthAhead(const Camera& camera, float distance)
{
    const Eigen::Vector4f clip = camera.projectionMatrix() * Eigen::Vector4f(0.0F, 0.0F, -distance, 1.0F);
    return clip.z() / clip.w();
}

void expectPlane(const Math::HalfSpace<float, 3>& plane, float a, float b, float c, float d)
{
    EXPECT_NEAR(plane.a, a, kFewRoundings);
    EXPECT_NEAR(plane.b, b, kFewRoundings);
    EXPECT_NEAR(plane.c, c, kFewRoundings);
    EXPECT_NEAR(plane.d, d, 1e-4F);  // near and far terms of a perspective cancel
}

/// Looks along -z from the origin with a right angle of view on a square, from 1 to 10.
void setRightAngleView(Camera& camera)
{
    camera.setViewport(100, 100);
    camera.setPerspective(90.0F, 1.0F, 10.0F, 0.0F, 0.0F);
}

void expectDerivedMatricesFit(const Camera& camera)
{
    const Eigen::Matrix4f expected = camera.projectionMatrix() * camera.viewMatrix();
    EXPECT_EQ(camera.viewProjectionMatrix(), expected);
    EXPECT_EQ(camera.invViewProjectionMatrix(), Eigen::Matrix4f(expected.inverse()));
}
}  // namespace

TEST(Camera, DefaultIsAReversedPerspectiveOf60DegreesThatNeedsARedraw)
{
    const Camera camera;

    EXPECT_TRUE(camera.isZBufferReversed());
    EXPECT_EQ(camera.clearDepthValue(), 0.0F);
    EXPECT_TRUE(camera.isPerspective());
    EXPECT_FALSE(camera.isOrthographic());
    EXPECT_EQ(camera.viewport(), Viewport(640, 480));
    EXPECT_FLOAT_EQ(camera.fovYRad(), 1.0471976F);
    EXPECT_NEAR(camera.fovYDeg(), 60.0F, 1e-5F);
    EXPECT_EQ(camera.zNear(), 0.01F);
    EXPECT_EQ(camera.zFar(), 20000.0F);
    EXPECT_EQ(camera.horizontalExtent(), 4.0F);
    EXPECT_EQ(camera.verticalExtent(), 3.0F);
    EXPECT_TRUE(camera.needsRedraw());
    EXPECT_EQ(camera.viewMatrix(), Eigen::Matrix4f(Eigen::Matrix4f::Identity()));
}

TEST(Camera, DefaultProjectionHasTheReversedDepthTerms)
{
    const Camera camera;

    const Eigen::Matrix4f& p = camera.projectionMatrix();
    EXPECT_FLOAT_EQ(p(0, 0), kCotangentOf30Degrees * 0.75F);
    EXPECT_FLOAT_EQ(p(1, 1), kCotangentOf30Degrees);
    EXPECT_FLOAT_EQ(p(2, 2), 5.0000025e-7F);  // 0.01 / 19999.99
    EXPECT_FLOAT_EQ(p(2, 3), 0.010000005F);   // 200 / 19999.99
    EXPECT_EQ(p(3, 2), -1.0F);
    EXPECT_EQ(p(3, 3), 0.0F);
    expectDerivedMatricesFit(camera);
}

TEST(Camera, StandardDepthHasItsOwnTermsAndClearsToOne)
{
    const Camera camera(false);

    EXPECT_FALSE(camera.isZBufferReversed());
    EXPECT_EQ(camera.clearDepthValue(), 1.0F);
    EXPECT_FLOAT_EQ(camera.projectionMatrix()(2, 2), -1.0000005F);  // 20000 / (0.01 - 20000)
    EXPECT_FLOAT_EQ(camera.projectionMatrix()(2, 3), -0.010000005F);
}

TEST(Camera, ReversedDepthMapsNearToOneAndFarToZero)
{
    Camera camera(true);
    camera.setPerspective(60.0F, 0.5F, 100.0F, 0.0F, 0.0F);

    EXPECT_NEAR(depthAhead(camera, 0.5F), 1.0F, kFewRoundings);
    EXPECT_NEAR(depthAhead(camera, 100.0F), 0.0F, kFewRoundings);
}

TEST(Camera, StandardDepthMapsNearToZeroAndFarToOne)
{
    Camera camera(false);
    camera.setPerspective(60.0F, 0.5F, 100.0F, 0.0F, 0.0F);

    EXPECT_NEAR(depthAhead(camera, 0.5F), 0.0F, kFewRoundings);
    EXPECT_NEAR(depthAhead(camera, 100.0F), 1.0F, kFewRoundings);
}

TEST(Camera, ClearDepthFollowsTheViewportsDepthRange)
{
    Camera reversed(true);
    Camera standard(false);
    reversed.viewport().setDepthRange(0.25F, 0.75F);
    standard.viewport().setDepthRange(0.25F, 0.75F);

    EXPECT_EQ(reversed.clearDepthValue(), 0.25F);
    EXPECT_EQ(standard.clearDepthValue(), 0.75F);
}

TEST(Camera, ViewportEntersTheProjectionWithTheNextPerspective)
{
    Camera camera;
    const Eigen::Matrix4f before = camera.projectionMatrix();

    camera.setViewport(1920, 1080);
    EXPECT_EQ(camera.projectionMatrix(), before);

    camera.setPerspective(60.0F, 0.01F, 20000.0F, 0.0F, 0.0F);
    EXPECT_FLOAT_EQ(camera.projectionMatrix()(0, 0), kCotangentOf30Degrees * 1080.0F / 1920.0F);
    EXPECT_FLOAT_EQ(camera.projectionMatrix()(1, 1), kCotangentOf30Degrees);
}

TEST(Camera, SettingTheViewportMovesItToTheOriginAndKeepsTheDepthRange)
{
    Camera camera;
    camera.viewport().set(5, 6, 7, 8);
    camera.viewport().setDepthRange(0.25F, 0.75F);

    camera.setViewport(10, 20);

    EXPECT_EQ(camera.viewport(), Viewport(0, 0, 10, 20));
    EXPECT_EQ(camera.viewport().minDepth(), 0.25F);
    EXPECT_EQ(camera.viewport().maxDepth(), 0.75F);
}

TEST(Camera, PerspectiveStoresTheShiftOfThePrincipalPoint)
{
    Camera camera;

    camera.setPerspective(60.0F, 1.0F, 10.0F, 0.25F, -0.5F);

    EXPECT_EQ(camera.projectionMatrix()(0, 2), 0.25F);
    EXPECT_EQ(camera.projectionMatrix()(1, 2), -0.5F);
    expectDerivedMatricesFit(camera);
}

TEST(Camera, AnEqualViewMatrixChangesNothing)
{
    Camera camera;
    const Eigen::Matrix4f view = translation(1.0F, 2.0F, 3.0F);
    camera.setViewMatrix(view);
    const Eigen::Matrix4f inverse = camera.invViewProjectionMatrix();

    camera.setViewMatrix(view);

    EXPECT_EQ(camera.viewMatrix(), view);
    EXPECT_EQ(camera.invViewProjectionMatrix(), inverse);
    expectDerivedMatricesFit(camera);
}

TEST(Camera, PoseBuildsTheLookAtMatrixFromVectorsOfAnyLength)
{
    Camera camera;

    camera.setPose(
        Point(1.0F, 2.0F, 3.0F), Eigen::Vector3f(0.0F, 0.0F, -2.0F), Eigen::Vector3f(0.0F, 3.0F, 0.0F)
    );

    EXPECT_EQ(camera.viewMatrix(), translation(-1.0F, -2.0F, -3.0F));
    expectDerivedMatricesFit(camera);
}

TEST(Camera, PoseTurnsTheAxesOfTheView)
{
    Camera camera;

    camera.setPose(Point(0.0F, 0.0F, 0.0F), Eigen::Vector3f::UnitX(), Eigen::Vector3f::UnitZ());

    EXPECT_EQ(camera.viewDirection(), Eigen::Vector3f(1.0F, 0.0F, 0.0F));
    EXPECT_EQ(camera.upDirection(), Eigen::Vector3f(0.0F, 0.0F, 1.0F));
    EXPECT_EQ(camera.rightDirection(), Eigen::Vector3f(0.0F, -1.0F, 0.0F));
}

TEST(Camera, PoseTowardsATargetLooksAlongTheDifference)
{
    Camera byTarget;
    Camera byDirection;

    byTarget.setPose(Point(1.0F, 2.0F, 3.0F), Point(4.0F, 0.0F, 1.0F), kUp);
    byDirection.setPose(Point(1.0F, 2.0F, 3.0F), Eigen::Vector3f(3.0F, -2.0F, -2.0F), kUp);

    EXPECT_EQ(byTarget.viewMatrix(), byDirection.viewMatrix());
}

TEST(Camera, PoseWithUpAlongTheViewHasNoSidewaysAxes)
{
    Camera camera;

    camera.setPose(Point(0.0F, 0.0F, 5.0F), Eigen::Vector3f(0.0F, 1.0F, 0.0F), kUp);

    EXPECT_TRUE(camera.rightDirection().isZero());
    EXPECT_TRUE(camera.upDirection().isZero());
    EXPECT_EQ(camera.viewDirection(), Eigen::Vector3f(0.0F, 1.0F, 0.0F));
}

TEST(Camera, PoseWithoutDirectionHasNoAxes)
{
    Camera camera;

    camera.setPose(Point(1.0F, 1.0F, 1.0F), Eigen::Vector3f(0.0F, 0.0F, 0.0F), kUp);

    Eigen::Matrix4f expected = Eigen::Matrix4f::Zero();
    expected(3, 3) = 1.0F;
    EXPECT_EQ(camera.viewMatrix(), expected);
}

TEST(Camera, EyeIsWhereThePoseStands)
{
    Camera camera;

    camera.setPose(Point(10.0F, -20.0F, 30.0F), Point(1.0F, 2.0F, 3.0F), kUp);

    EXPECT_NEAR(camera.eye().x, 10.0F, 1e-5F);
    EXPECT_NEAR(camera.eye().y, -20.0F, 1e-5F);
    EXPECT_NEAR(camera.eye().z, 30.0F, 1e-5F);
}

TEST(Camera, OffCenterPerspectiveOfACentredRectangleHasNoShift)
{
    Camera camera;

    camera.setPerspectiveOffCenter(-1.0F, 1.0F, -1.0F, 1.0F, 2.0F, 10.0F, true);

    const Eigen::Matrix4f& p = camera.projectionMatrix();
    EXPECT_EQ(p(0, 2), 0.0F);
    EXPECT_EQ(p(1, 2), 0.0F);
    EXPECT_EQ(p(0, 0), 2.0F);
    EXPECT_EQ(p(1, 1), 2.0F);
    EXPECT_FLOAT_EQ(camera.fovYRad(), 0.92729522F);  // 2 atan(1/2)
    EXPECT_EQ(camera.zNear(), 2.0F);
    EXPECT_EQ(camera.zFar(), 10.0F);
    expectDerivedMatricesFit(camera);
}

TEST(Camera, OffCenterPerspectiveShiftsThePrincipalPoint)
{
    Camera camera;

    camera.setPerspectiveOffCenter(0.0F, 4.0F, -1.0F, 3.0F, 1.0F, 10.0F, true);

    EXPECT_EQ(camera.projectionMatrix()(0, 2), 1.0F);  // (0 + 4) / 4
    EXPECT_EQ(camera.projectionMatrix()(1, 2), 0.5F);  // (-1 + 3) / 4

    // the shift is stored: fitting the depth range rebuilds the projection with it
    camera.setZNearAndFarViaBoundingBox(Box(Point(-1.0F, -1.0F, -8.0F), Point(1.0F, 1.0F, -4.0F)));
    EXPECT_EQ(camera.projectionMatrix()(0, 2), 1.0F);
    EXPECT_EQ(camera.projectionMatrix()(1, 2), 0.5F);
}

TEST(Camera, OffCenterPerspectiveTakesItsOwnDepthConventionAndLeavesTheCameras)
{
    Camera camera(true);

    camera.setPerspectiveOffCenter(-1.0F, 1.0F, -1.0F, 1.0F, 1.0F, 10.0F, false);

    EXPECT_TRUE(camera.isZBufferReversed());
    EXPECT_NEAR(depthAhead(camera, 1.0F), 0.0F, kFewRoundings);
    EXPECT_NEAR(depthAhead(camera, 10.0F), 1.0F, kFewRoundings);
}

TEST(Camera, OrthographicProjectionHasTheTermsOfItsDepthConvention)
{
    Camera standard(false);
    Camera reversed(true);

    standard.setOrthographic(8.0F, 4.0F, 1.0F, 5.0F);
    reversed.setOrthographic(8.0F, 4.0F, 1.0F, 5.0F);

    EXPECT_EQ(standard.projectionMatrix()(0, 0), 0.25F);
    EXPECT_EQ(standard.projectionMatrix()(1, 1), 0.5F);
    EXPECT_EQ(standard.projectionMatrix()(2, 2), -0.25F);
    EXPECT_EQ(standard.projectionMatrix()(2, 3), -0.25F);
    EXPECT_EQ(reversed.projectionMatrix()(2, 2), 0.25F);
    EXPECT_EQ(reversed.projectionMatrix()(2, 3), 1.25F);
    EXPECT_TRUE(reversed.isOrthographic());
    EXPECT_FALSE(reversed.isPerspective());
    EXPECT_EQ(reversed.horizontalExtent(), 8.0F);
    EXPECT_EQ(reversed.verticalExtent(), 4.0F);
    expectDerivedMatricesFit(reversed);
}

TEST(Camera, OrthographicProjectionByHeightTakesTheAspectRatio)
{
    Camera camera;

    camera.setOrthographic(3.0F, 1.0F, 5.0F);

    EXPECT_FLOAT_EQ(camera.horizontalExtent(), 4.0F);
    EXPECT_EQ(camera.verticalExtent(), 3.0F);
}

TEST(Camera, OrthographicProjectionLeavesTheFieldOfView)
{
    Camera camera;
    camera.setPerspective(45.0F, 1.0F, 10.0F, 0.0F, 0.0F);

    camera.setOrthographic(3.0F, 1.0F, 5.0F);

    EXPECT_NEAR(camera.fovYDeg(), 45.0F, 1e-5F);
}

TEST(Camera, GivenPerspectiveYieldsFieldOfViewAndDistances)
{
    for (const bool reversed : {false, true})
    {
        SCOPED_TRACE(reversed);
        Camera source(reversed);
        source.setPerspective(90.0F, 1.0F, 4.0F, 0.0F, 0.0F);
        Camera camera(!reversed);

        camera.setProjection(source.projectionMatrix(), 0.0F, 1.0F, reversed);

        EXPECT_EQ(camera.isZBufferReversed(), reversed);
        EXPECT_EQ(camera.projectionMatrix(), source.projectionMatrix());
        EXPECT_NEAR(camera.fovYDeg(), 90.0F, 1e-4F);
        EXPECT_NEAR(camera.zNear(), 1.0F, 1e-5F);
        EXPECT_NEAR(camera.zFar(), 4.0F, 1e-5F);
        expectDerivedMatricesFit(camera);
    }
}

TEST(Camera, GivenProjectionSetsTheViewportsDepthRange)
{
    Camera camera;

    camera.setProjection(camera.projectionMatrix(), 0.25F, 0.5F, false);

    EXPECT_EQ(camera.viewport().minDepth(), 0.25F);
    EXPECT_EQ(camera.viewport().maxDepth(), 0.5F);
    EXPECT_EQ(camera.clearDepthValue(), 0.5F);
}

TEST(Camera, GivenOrthographicProjectionYieldsTheExtents)
{
    Camera source(false);
    source.setOrthographic(8.0F, 2.0F, -1.0F, 3.0F);
    Camera camera(false);

    camera.setProjection(source.projectionMatrix(), 0.0F, 1.0F, false);

    EXPECT_EQ(camera.horizontalExtent(), 8.0F);
    EXPECT_EQ(camera.verticalExtent(), 2.0F);
    EXPECT_NEAR(camera.zNear(), -1.0F, kFewRoundings);
    EXPECT_NEAR(camera.zFar(), 3.0F, kFewRoundings);
}

TEST(Camera, GivenProjectionMeasuresItsDistancesThroughTheView)
{
    Camera source(false);
    source.setPerspective(90.0F, 1.0F, 4.0F, 0.0F, 0.0F);
    Camera camera(false);
    camera.setPose(Point(0.0F, 0.0F, 5.0F), Eigen::Vector3f(0.0F, 0.0F, -1.0F), kUp);

    camera.setProjection(source.projectionMatrix(), 0.0F, 1.0F, false);

    // The planes lie at z = 5 - 1 and z = 5 - 4; the distances are their negated world coordinates.
    EXPECT_NEAR(camera.zNear(), -4.0F, 1e-5F);
    EXPECT_NEAR(camera.zFar(), -1.0F, 1e-5F);
}

TEST(Camera, DepthRangeFitsABoxTightly)
{
    Camera camera;

    camera.setZNearAndFarViaBoundingBox(Box(Point(-1.0F, -1.0F, -10.0F), Point(1.0F, 1.0F, -4.0F)));

    EXPECT_EQ(camera.zNear(), 4.0F);
    EXPECT_EQ(camera.zFar(), 10.0F);
    EXPECT_NEAR(camera.fovYDeg(), 60.0F, 1e-4F);
    EXPECT_NEAR(depthAhead(camera, 4.0F), 1.0F, kFewRoundings);
}

TEST(Camera, DepthRangeOfADiagonalViewReachesTheBoxCorners)
{
    Camera camera;
    camera.setPose(Point(10.0F, 0.0F, 10.0F), Point(0.0F, 0.0F, 0.0F), kUp);

    camera.setZNearAndFarViaBoundingBox(Box(Point(-1.0F, -1.0F, -1.0F), Point(1.0F, 1.0F, 1.0F)));

    // the centre is 10 sqrt(2) ahead, the box's half depth along the diagonal is sqrt(2)
    EXPECT_NEAR(camera.zNear(), 12.727922F, 1e-5F);
    EXPECT_NEAR(camera.zFar(), 15.556349F, 1e-5F);
}

TEST(Camera, DepthRangeOfAPerspectiveStaysBeforeTheEye)
{
    Camera camera;

    camera.setZNearAndFarViaBoundingBox(Box(Point(-1.0F, -1.0F, 4.0F), Point(1.0F, 1.0F, 10.0F)));

    EXPECT_EQ(camera.zNear(), 0.01F);
    EXPECT_FLOAT_EQ(camera.zFar(), 0.0101F);
}

TEST(Camera, DepthRangeOfAParallelViewMayLieBehindTheEye)
{
    Camera camera;
    camera.setOrthographic(4.0F, 3.0F, 1.0F, 5.0F);

    camera.setZNearAndFarViaBoundingBox(Box(Point(-1.0F, -1.0F, 4.0F), Point(1.0F, 1.0F, 10.0F)));

    EXPECT_EQ(camera.zNear(), -10.0F);
    EXPECT_EQ(camera.zFar(), -4.0F);
    EXPECT_EQ(camera.horizontalExtent(), 4.0F);
    EXPECT_EQ(camera.verticalExtent(), 3.0F);
}

TEST(Camera, DepthRangeCountsAnInvertedAxisOfTheBoxAsFlat)
{
    Camera camera;

    camera.setZNearAndFarViaBoundingBox(Box(Point(-1.0F, -1.0F, -4.0F), Point(1.0F, 1.0F, -10.0F)));

    EXPECT_EQ(camera.zNear(), 7.0F);
    EXPECT_FLOAT_EQ(camera.zFar(), 7.0001F);
}

TEST(Camera, UnprojectedLowerLeftCornerLiesOnTheNearPlane)
{
    Camera camera;
    camera.setPerspective(60.0F, 1.0F, 100.0F, 0.0F, 0.0F);

    const Point corner = camera.unProject(0, 480, 1.0F);

    EXPECT_NEAR(corner.x, -0.76980036F, 1e-5F);  // -tan(30 degrees) x 4/3
    EXPECT_NEAR(corner.y, -0.57735027F, 1e-5F);
    EXPECT_NEAR(corner.z, -1.0F, 1e-5F);
}

TEST(Camera, UnprojectedPixelZeroIsTheUpperLeftCorner)
{
    Camera camera;
    camera.setPerspective(60.0F, 1.0F, 100.0F, 0.0F, 0.0F);

    const Point corner = camera.unProject(0, 0, 1.0F);

    EXPECT_NEAR(corner.x, -0.76980036F, 1e-5F);
    EXPECT_NEAR(corner.y, 0.57735027F, 1e-5F);
}

TEST(Camera, UnprojectedClearDepthLiesOnTheFarPlane)
{
    for (const bool reversed : {false, true})
    {
        SCOPED_TRACE(reversed);
        Camera camera(reversed);
        camera.setPerspective(60.0F, 1.0F, 100.0F, 0.0F, 0.0F);

        const Point point = camera.unProject(320, 240, camera.clearDepthValue());

        EXPECT_NEAR(point.x, 0.0F, 1e-4F);
        EXPECT_NEAR(point.y, 0.0F, 1e-4F);
        EXPECT_NEAR(point.z, -100.0F, 0.01F);  // the standard depth loses digits towards far
    }
}

TEST(Camera, FrustumPlanesPointInwardsInBothDepthConventions)
{
    constexpr float kHalf = 0.70710678F;
    for (const bool reversed : {false, true})
    {
        SCOPED_TRACE(reversed);
        Camera camera(reversed);
        setRightAngleView(camera);

        const Math::Frustum<float> frustum = camera.frustum();

        expectPlane(frustum.planes[0], kHalf, 0.0F, -kHalf, 0.0F);
        expectPlane(frustum.planes[1], -kHalf, 0.0F, -kHalf, 0.0F);
        expectPlane(frustum.planes[2], 0.0F, kHalf, -kHalf, 0.0F);
        expectPlane(frustum.planes[3], 0.0F, -kHalf, -kHalf, 0.0F);
        expectPlane(frustum.planes[4], 0.0F, 0.0F, -1.0F, -1.0F);
        expectPlane(frustum.planes[5], 0.0F, 0.0F, 1.0F, 10.0F);
    }
}

TEST(Camera, FrustumOfAModelIsInModelCoordinates)
{
    Camera camera;
    setRightAngleView(camera);

    const Math::Frustum<float> frustum = camera.frustum(translation(0.0F, 0.0F, -100.0F));

    // world z from -1 to -10 is model z from 99 to 90
    expectPlane(frustum.planes[4], 0.0F, 0.0F, -1.0F, 99.0F);
    expectPlane(frustum.planes[5], 0.0F, 0.0F, 1.0F, -90.0F);
}

TEST(Camera, ScaledFrustumIsWiderByTheFactors)
{
    Camera camera;
    setRightAngleView(camera);

    const Math::Frustum<float> frustum = camera.scaledFrustum(2.0F, 4.0F, 1.0F, Eigen::Matrix4f::Identity());

    // x up to 2 |z|, y up to 4 |z|
    expectPlane(frustum.planes[0], 0.44721360F, 0.0F, -0.89442719F, 0.0F);
    expectPlane(frustum.planes[1], -0.44721360F, 0.0F, -0.89442719F, 0.0F);
    expectPlane(frustum.planes[2], 0.0F, 0.24253563F, -0.97014250F, 0.0F);
    expectPlane(frustum.planes[3], 0.0F, -0.24253563F, -0.97014250F, 0.0F);
    expectPlane(frustum.planes[4], 0.0F, 0.0F, -1.0F, -1.0F);
    expectPlane(frustum.planes[5], 0.0F, 0.0F, 1.0F, 10.0F);
}

TEST(Camera, FrustumKeepsAPlaneWithoutNormal)
{
    Camera camera;
    Eigen::Matrix4f projection = Eigen::Matrix4f::Zero();
    projection(3, 3) = 3.0F;

    camera.setProjection(projection, 0.0F, 1.0F, false);

    EXPECT_EQ(camera.frustum().planes[0], (Math::HalfSpace<float, 3>(0.0F, 0.0F, 0.0F, 3.0F)));
}

TEST(Camera, EqualityIgnoresTheRedrawFlagAndTheDepthRange)
{
    Camera camera;
    Camera other;
    other.setNeedsRedraw(false);
    other.viewport().setDepthRange(0.1F, 0.2F);

    EXPECT_TRUE(camera == other);
    EXPECT_FALSE(camera != other);
}

TEST(Camera, ACopyIsEqualAndHasAFlagOfItsOwn)
{
    Camera camera;
    camera.setViewMatrix(translation(1.0F, 2.0F, 3.0F));
    camera.setNeedsRedraw(false);

    Camera copy = camera;
    EXPECT_FALSE(copy.needsRedraw());
    copy.setNeedsRedraw(true);

    EXPECT_TRUE(copy == camera);
    EXPECT_FALSE(camera.needsRedraw());
}

TEST(Camera, ItsOwnMatrixMayBeGivenAsProjection)
{
    Camera camera;
    camera.setOrthographic(4.0F, 2.0F, 1.0F, 10.0F);
    camera.setPose({1.0F, 2.0F, 3.0F}, Eigen::Vector3f(-1.0F, -2.0F, -2.0F), Eigen::Vector3f::UnitZ());
    Camera other = camera;
    const Eigen::Matrix4f matrix = camera.viewProjectionMatrix();

    camera.setProjection(camera.viewProjectionMatrix(), 0.0F, 1.0F, false);
    other.setProjection(matrix, 0.0F, 1.0F, false);

    EXPECT_TRUE(camera == other);
    EXPECT_EQ(camera.verticalExtent(), other.verticalExtent());
    EXPECT_EQ(camera.horizontalExtent(), other.horizontalExtent());
    EXPECT_EQ(camera.verticalExtent(), 2.0F / matrix(1, 1));
}

TEST(Camera, EqualityComparesViewProjectionViewportAndDepthConvention)
{
    const Camera camera;
    Camera moved;
    moved.setViewMatrix(translation(1.0F, 0.0F, 0.0F));
    Camera zoomed;
    zoomed.setPerspective(30.0F, 0.01F, 20000.0F, 0.0F, 0.0F);
    Camera resized;
    resized.setViewport(100, 100);
    Camera standard(true);
    standard.setProjection(camera.projectionMatrix(), 0.0F, 1.0F, false);

    EXPECT_TRUE(camera != moved);
    EXPECT_TRUE(camera != zoomed);
    EXPECT_TRUE(camera != resized);
    EXPECT_TRUE(camera != standard);
}

TEST(Camera, OnlyTheFlagsOwnSetterChangesTheRedrawFlag)
{
    Camera camera;
    camera.setNeedsRedraw(false);

    camera.setViewport(10, 10);
    camera.setPose(Point(1.0F, 2.0F, 3.0F), Point(0.0F, 0.0F, 0.0F), kUp);
    camera.setPerspective(30.0F, 1.0F, 10.0F, 0.0F, 0.0F);
    camera.setOrthographic(3.0F, 1.0F, 10.0F);
    EXPECT_FALSE(camera.needsRedraw());

    camera.setNeedsRedraw(true);
    EXPECT_TRUE(camera.needsRedraw());
    EXPECT_TRUE(camera.needsRedraw());
}

TEST(Camera, RedrawFlagMayBeSetFromAnotherThread)
{
    const auto camera = std::make_shared<Camera>();
    camera->setNeedsRedraw(false);

    std::thread loader([camera] { camera->setNeedsRedraw(true); });
    while (!camera->needsRedraw())
    {
        std::this_thread::yield();
    }
    loader.join();

    EXPECT_TRUE(camera->needsRedraw());
}

TEST(Camera, SenselessArgumentsAreStoredAsComputed)
{
    Camera camera;

    camera.setViewport(100, 0);
    camera.setPerspective(60.0F, 1.0F, 1.0F, 0.0F, 0.0F);

    EXPECT_EQ(camera.projectionMatrix()(0, 0), 0.0F);  // divided by an infinite aspect ratio
    EXPECT_TRUE(std::isinf(camera.projectionMatrix()(2, 2)));
}
}  // namespace Render
