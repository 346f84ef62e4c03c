#include "render/pointcloud/NodePriority.h"
#include "render/scene/Camera.h"
#include "render/scene/Viewport.h"
#include "tests/render/algorithms/rankOf.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace Render
{
namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Polytope = Math::ConvexPolytope<float, 3>;
using HalfSpace = Math::HalfSpace<float, 3>;

constexpr float kRightAngle = std::numbers::pi_v<float> / 2.0F;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

const Box kBox({-1.0F, -2.0F, -11.0F}, {1.0F, 2.0F, -9.0F});  // centre (0, 0, -10), radius sqrt(6)
const Math::Point<float, 3> kOrigin(0.0F, 0.0F, 0.0F);

NodePriority rankClipped(const Box& box, const Polytope& clippingVolume)
{
    return NodePriority::perspective(
        box, Math::Frustum<float>(), clippingVolume, kOrigin, 1.0F, Viewport(200, 100), kRightAngle, 0.0F
    );
}

NodePriority rankInFrustum(const Box& box, const Math::Frustum<float>& frustum)
{
    return NodePriority::perspective(
        box, frustum, Polytope(), kOrigin, 1.0F, Viewport(200, 100), kRightAngle, 0.0F
    );
}

bool isDiscarded(const NodePriority& priority)
{
    return priority == NodePriority::discard();
}
}  // namespace

TEST(NodePriority, KeepIsTheLargestPriorityAtNoDistance)
{
    EXPECT_EQ(NodePriority::keep().priority(), 3.4028235e38F);
    EXPECT_EQ(NodePriority::keep().distanceToEye(), 0.0F);
}

TEST(NodePriority, DiscardIsNoPriorityAtTheLargestDistance)
{
    EXPECT_EQ(NodePriority::discard().priority(), 0.0F);
    EXPECT_EQ(NodePriority::discard().distanceToEye(), 3.4028235e38F);
}

TEST(NodePriority, NearerIsGreaterWithinTheTolerance)
{
    const NodePriority nearer = rankOf(250.0F, 10.0F);
    const NodePriority farther = rankOf(250.05F, 20.0F);

    EXPECT_TRUE(nearer > farther);
    EXPECT_TRUE(nearer >= farther);
    EXPECT_FALSE(nearer < farther);
    EXPECT_FALSE(nearer <= farther);
    EXPECT_TRUE(farther < nearer);
    EXPECT_TRUE(farther <= nearer);
    EXPECT_FALSE(farther > nearer);
    EXPECT_FALSE(farther >= nearer);
    EXPECT_TRUE(nearer != farther);
}

TEST(NodePriority, DistanceIsIgnoredBeyondTheTolerance)
{
    const NodePriority smaller = rankOf(250.0F, 10.0F);
    const NodePriority larger = rankOf(250.2F, 20.0F);

    EXPECT_TRUE(larger > smaller);
    EXPECT_TRUE(larger >= smaller);
    EXPECT_FALSE(larger < smaller);
    EXPECT_FALSE(larger <= smaller);
    EXPECT_TRUE(smaller < larger);
    EXPECT_TRUE(smaller <= larger);
    EXPECT_FALSE(smaller > larger);
    EXPECT_FALSE(smaller >= larger);
}

TEST(NodePriority, EqualWithinTheToleranceAtTheSameDistance)
{
    const NodePriority a = rankOf(250.0F, 10.0F);
    const NodePriority b = rankOf(250.05F, 10.0F);

    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a != b);
    EXPECT_TRUE(a <= b);
    EXPECT_TRUE(a >= b);
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(a > b);
}

TEST(NodePriority, KeepIsGreaterThanAnyComputedPriority)
{
    EXPECT_TRUE(NodePriority::keep() > rankOf(1.0e15F));
    EXPECT_TRUE(rankOf(1.0e15F) < NodePriority::keep());
}

TEST(NodePriority, DiscardIsLessThanAnyPositivePriority)
{
    EXPECT_TRUE(NodePriority::discard() < rankOf(0.001F, 1000.0F));
    EXPECT_TRUE(rankOf(0.001F, 1000.0F) > NodePriority::discard());
    EXPECT_FALSE(isDiscarded(rankOf(0.001F, 1000.0F)));
}

TEST(NodePriority, SumAddsThePrioritiesAtTheSmallerDistance)
{
    NodePriority sum = rankOf(2.0F, 30.0F) + rankOf(3.0F, 20.0F);

    EXPECT_NEAR(sum.priority(), 5.0F, 1e-5F);
    EXPECT_EQ(sum.distanceToEye(), 20.0F);

    sum += rankOf(1.0F, 40.0F);
    EXPECT_NEAR(sum.priority(), 6.0F, 1e-5F);
    EXPECT_EQ(sum.distanceToEye(), 20.0F);
}

TEST(NodePriority, PerspectiveIsTheRadiusInPixels)
{
    const NodePriority priority = NodePriority::perspective(
        kBox, Math::Frustum<float>(), Polytope(), kOrigin, 1.0F, Viewport(200, 100), kRightAngle, 1.0F
    );

    EXPECT_NEAR(priority.priority(), 12.247449F, 1e-5F);  // 50 / (1 x 10) x sqrt(6)
    EXPECT_EQ(priority.distanceToEye(), 10.0F);
}

TEST(NodePriority, PerspectiveAppliesTheScaleToTheRadiusOnly)
{
    const NodePriority priority = NodePriority::perspective(
        kBox, Math::Frustum<float>(), Polytope(), kOrigin, 3.0F, Viewport(200, 100), kRightAngle, 1.0F
    );

    EXPECT_NEAR(priority.priority(), 36.742346F, 1e-4F);
    EXPECT_EQ(priority.distanceToEye(), 10.0F);
}

TEST(NodePriority, PerspectiveKeepsAPriorityEqualToTheThreshold)
{
    const auto rankWithThreshold = [](float threshold)
    {
        return NodePriority::perspective(
            kBox,
            Math::Frustum<float>(),
            Polytope(),
            kOrigin,
            1.0F,
            Viewport(200, 100),
            kRightAngle,
            threshold
        );
    };
    const float priority = rankWithThreshold(0.0F).priority();

    EXPECT_FALSE(isDiscarded(rankWithThreshold(priority)));
    EXPECT_TRUE(isDiscarded(rankWithThreshold(std::nextafter(priority, 1000.0F))));
}

TEST(NodePriority, EyeInTheCentreRanksBelowKeepAlone)
{
    const NodePriority priority = NodePriority::perspective(
        kBox,
        Math::Frustum<float>(),
        Polytope(),
        {0.0F, 0.0F, -10.0F},
        1.0F,
        Viewport(200, 100),
        kRightAngle,
        1.0F
    );

    EXPECT_TRUE(std::isfinite(priority.priority()));
    EXPECT_TRUE(priority > rankOf(1.0e15F));
    EXPECT_TRUE(NodePriority::keep() > priority);
    EXPECT_FALSE(priority > NodePriority::keep());
}

TEST(NodePriority, AParallelProjectionWithoutExtentRanksBelowKeep)
{
    Eigen::Matrix4f projection = Eigen::Matrix4f::Identity();
    projection(0, 0) = std::numeric_limits<float>::max();

    const NodePriority priority = NodePriority::orthographic(
        kBox,
        Math::Frustum<float>(),
        Polytope(),
        {0.0F, 0.0F, 0.0F},
        1.0F,
        projection,
        Viewport(200, 100),
        1.0F
    );

    EXPECT_TRUE(NodePriority::keep() > priority);
}

TEST(NodePriority, OrthographicIsTheRadiusInPixelsAtAnyDistance)
{
    Camera camera;
    camera.setViewport(400, 200);
    camera.setOrthographic(40.0F, 20.0F, 1.0F, 100.0F);  // 10 pixels a unit

    const NodePriority priority = NodePriority::orthographic(
        kBox,
        Math::Frustum<float>(),
        Polytope(),
        kOrigin,
        2.0F,
        camera.projectionMatrix(),
        camera.viewport(),
        1.0F
    );

    EXPECT_NEAR(priority.priority(), 48.989795F, 1e-4F);  // 10 x 2 x sqrt(6)
    EXPECT_EQ(priority.distanceToEye(), 10.0F);
}

TEST(NodePriority, OrthographicDiscardsBelowTheThreshold)
{
    Camera camera;
    camera.setViewport(400, 200);
    camera.setOrthographic(40.0F, 20.0F, 1.0F, 100.0F);
    const auto rankWithThreshold = [&camera](float threshold)
    {
        return NodePriority::orthographic(
            kBox,
            Math::Frustum<float>(),
            Polytope(),
            kOrigin,
            1.0F,
            camera.projectionMatrix(),
            camera.viewport(),
            threshold
        );
    };
    const float priority = rankWithThreshold(0.0F).priority();

    EXPECT_FALSE(isDiscarded(rankWithThreshold(priority)));
    EXPECT_TRUE(isDiscarded(rankWithThreshold(std::nextafter(priority, 1000.0F))));
}

TEST(NodePriority, OrthographicDiscardsWhatIsClippedOrOutOfView)
{
    Camera camera;
    camera.setOrthographic(40.0F, 20.0F, 1.0F, 100.0F);
    const auto rank = [&camera](const Box& box, const Polytope& clippingVolume)
    {
        return NodePriority::orthographic(
            box,
            camera.frustum(),
            clippingVolume,
            kOrigin,
            1.0F,
            camera.projectionMatrix(),
            camera.viewport(),
            1.0F
        );
    };

    EXPECT_FALSE(isDiscarded(rank(kBox, Polytope())));
    EXPECT_TRUE(isDiscarded(rank(kBox, Polytope({HalfSpace(1.0F, 0.0F, 0.0F, -2.0F)}))));
    EXPECT_TRUE(isDiscarded(rank(Box({50.0F, 0.0F, -10.0F}, {51.0F, 1.0F, -9.0F}), Polytope())));
}

TEST(NodePriority, BoxOutsideOneClippingPlaneIsDiscarded)
{
    const HalfSpace keepsAll(0.0F, 0.0F, -1.0F, 0.0F);
    const HalfSpace keepsBeyondTwo(1.0F, 0.0F, 0.0F, -2.0F);  // x >= 2, the box ends at 1

    EXPECT_FALSE(isDiscarded(rankClipped(kBox, Polytope({keepsAll}))));
    EXPECT_TRUE(isDiscarded(rankClipped(kBox, Polytope({keepsAll, keepsBeyondTwo}))));
}

TEST(NodePriority, BoxThatTouchesAClippingPlaneIsRanked)
{
    const HalfSpace planes[] = {
        {1.0F, 0.0F, 0.0F, -1.0F},   // x >= 1, the box's maximum
        {-1.0F, 0.0F, 0.0F, -1.0F},  // x <= -1, its minimum
        {0.0F, 1.0F, 0.0F, -2.0F},
        {0.0F, -1.0F, 0.0F, -2.0F},
        {0.0F, 0.0F, 1.0F, 9.0F},
        {0.0F, 0.0F, -1.0F, -11.0F},
    };
    for (HalfSpace plane : planes)
    {
        EXPECT_FALSE(isDiscarded(rankClipped(kBox, Polytope({plane}))));

        plane.d -= 0.001F;
        EXPECT_TRUE(isDiscarded(rankClipped(kBox, Polytope({plane}))));
    }
}

TEST(NodePriority, EmptyClippingVolumeClipsNothing)
{
    EXPECT_FALSE(isDiscarded(rankClipped(kBox, Polytope())));
}

TEST(NodePriority, BoxOutsideTheFrustumIsDiscarded)
{
    Camera camera;
    camera.setViewport(100, 100);
    camera.setPerspective(90.0F, 1.0F, 100.0F, 0.0F, 0.0F);
    const Math::Frustum<float> frustum = camera.frustum();

    EXPECT_FALSE(isDiscarded(rankInFrustum(kBox, frustum)));
    EXPECT_TRUE(isDiscarded(rankInFrustum(Box({-1.0F, -1.0F, 9.0F}, {1.0F, 1.0F, 11.0F}), frustum)));
    EXPECT_TRUE(isDiscarded(rankInFrustum(Box({20.0F, -1.0F, -11.0F}, {21.0F, 1.0F, -9.0F}), frustum)));
    EXPECT_TRUE(isDiscarded(rankInFrustum(Box({-1.0F, -1.0F, -200.0F}, {1.0F, 1.0F, -150.0F}), frustum)));
}

TEST(NodePriority, BoxOnTheBorderOfTheFrustumIsRanked)
{
    Math::Frustum<float> frustum;
    frustum.planes[3] = {0.0F, 1.0F, 0.0F, -2.0F};

    EXPECT_FALSE(isDiscarded(rankInFrustum(kBox, frustum)));

    frustum.planes[3].d = -2.001F;
    EXPECT_TRUE(isDiscarded(rankInFrustum(kBox, frustum)));
}

TEST(NodePriority, ValuesThatAreNotNumbersFailTheClippingVolumeButNotTheFrustum)
{
    Math::Frustum<float> frustum;
    frustum.planes[0].d = kNaN;

    EXPECT_TRUE(isDiscarded(rankClipped(kBox, Polytope({HalfSpace(0.0F, 0.0F, 0.0F, kNaN)}))));
    EXPECT_FALSE(isDiscarded(rankInFrustum(kBox, frustum)));
}

TEST(NodePriority, InvertedAxisOfABoxCountsAsFlat)
{
    const Box inverted({1.0F, -2.0F, -10.0F}, {-1.0F, 2.0F, -10.0F});

    const NodePriority priority = rankClipped(inverted, Polytope());

    EXPECT_NEAR(priority.priority(), 10.0F, 1e-5F);  // 50 / 10 x the half height 2
}

TEST(NodePriority, CentreOfAHugeBoxDoesNotOverflow)
{
    constexpr float kHuge = 3.0e38F;
    const Box box({kHuge, 0.0F, 0.0F}, {kHuge, 0.0F, 0.0F});

    const NodePriority priority = NodePriority::perspective(
        box,
        Math::Frustum<float>(),
        Polytope(),
        {kHuge, 0.0F, 4.0F},
        1.0F,
        Viewport(200, 100),
        kRightAngle,
        0.0F
    );

    EXPECT_EQ(priority.distanceToEye(), 4.0F);
}
}  // namespace Render
