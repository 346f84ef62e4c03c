#include "render/renderer/Frame.h"
#include "render/renderer/Picking.h"
#include "render/renderer/ReadBack.h"
#include "render/scene/GroupRenderable.h"
#include "tests/render/renderer/RecordingRenderable.h"
#include "tests/render/renderer/RendererFixture.h"
#include "tests/support/CheckedContext.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>

namespace Render
{
namespace
{
using Math::Color;
using Plane = Math::NPlane<float, 3>;
using Point = Math::Point<float, 3>;

constexpr Color kRed{255, 0, 0, 255};
constexpr float kOffset = TriangleRenderable::kExactOffset;
constexpr std::uint64_t kHuge = std::numeric_limits<std::uint64_t>::max();
constexpr double kThreshold = 0.01;

/// Pixel centres have a rounding of the interpolation.
void expectPoint(const Point& actual, const Point& expected, float tolerance = 1e-3F)
{
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

using RendererPicking = RendererFixture;

/// A renderer of 80 x 60 pixels whose camera looks along -z from (1000, 0, 10): exact positions are moved by
/// 1000.
class RendererPickingPlanes : public RendererFixture
{
protected:
    void SetUp() override
    {
        RendererFixture::SetUp();
        if (mRenderer)
        {
            mRenderer->setViewport(80, 60);
            mRenderer->setPerspective(60.0F, 1.0F, 100.0F, 0.0F, 0.0F);
            mRenderer->setCameraPose(
                kEye, Eigen::Vector3f(0.0F, 0.0F, -1.0F), Eigen::Vector3f(0.0F, 1.0F, 0.0F)
            );
        }
    }

    /// Draws with the camera 1000 to the left, where the triangles are, then picks with it where the exact
    /// positions are.
    void showAround(std::vector<VertexPosColor> corners)
    {
        mRenderer->setCameraPose(
            Point(kEye.x - kOffset, kEye.y, kEye.z),
            Eigen::Vector3f(0.0F, 0.0F, -1.0F),
            Eigen::Vector3f(0.0F, 1.0F, 0.0F)
        );
        show(std::move(corners));
        mRenderer->setCameraPose(kEye, Eigen::Vector3f(0.0F, 0.0F, -1.0F), Eigen::Vector3f(0.0F, 1.0F, 0.0F));
    }

    static constexpr Point kEye{1000.0F, 0.0F, 10.0F};
};
}  // namespace

TEST_F(RendererPicking, APointIsTheExactPositionOfThePixel)
{
    show(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 2.0F, kRed));
    Point point;

    EXPECT_TRUE(mRenderer->pickPoint(1, 0, point));

    expectPoint(point, {kOffset - 2.5F, 2.5F, 2.0F});
}

TEST_F(RendererPicking, APixelWithoutAPointGivesItsEmptyTexel)
{
    show(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 2.0F, kRed));
    Point point(7.0F, 7.0F, 7.0F);

    EXPECT_FALSE(mRenderer->pickPoint(6, 0, point));

    EXPECT_EQ(point, Point());
}

TEST_F(RendererPicking, APixelOutsideThePictureGivesNothing)
{
    show(rectangle(-9.0F, 9.0F, -9.0F, 9.0F, 2.0F, kRed));
    Point point(7.0F, 7.0F, 7.0F);

    EXPECT_FALSE(mRenderer->pickPoint(8, 0, point));
    EXPECT_FALSE(mRenderer->pickPoint(0, 6, point));
    EXPECT_FALSE(mRenderer->pickPoint(kHuge, kHuge, point));

    EXPECT_EQ(point, Point(7.0F, 7.0F, 7.0F));
    EXPECT_TRUE(mRenderer->pickPoint(7, 5, point));
}

TEST_F(RendererPicking, ASceneWithoutGroupsIsTheOwnerOfItsPixels)
{
    const auto scene = show(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 2.0F, kRed));

    EXPECT_EQ(mRenderer->pickRenderable(1, 0), scene);
    EXPECT_EQ(mRenderer->pickRenderable(6, 0), nullptr);
    EXPECT_EQ(mRenderer->pickRenderable(8, 0), nullptr);
    EXPECT_EQ(mRenderer->pickRenderable(1, 6), nullptr);
    EXPECT_EQ(mRenderer->pickRenderable(kHuge, kHuge), nullptr);
}

TEST_F(RendererPicking, WithoutASceneNoPixelHasAnOwner)
{
    mRenderer->render();

    EXPECT_EQ(mRenderer->pickRenderable(1, 0), nullptr);
}

TEST_F(RendererPicking, TheOwnerIsTheMemberWhoseDepthWinsWhateverTheOrder)
{
    const auto back = std::make_shared<TriangleRenderable>(rectangle(-4.0F, 2.0F, -3.0F, 3.0F, 1.0F, kRed));
    const auto front = std::make_shared<TriangleRenderable>(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 2.0F, kRed));
    const auto hidden = std::make_shared<TriangleRenderable>(rectangle(-4.0F, 4.0F, -3.0F, 3.0F, 3.0F, kRed));
    hidden->setVisible(false);
    const auto inner = GroupRenderable::create("inner");
    inner->add(front);
    inner->add(hidden);
    for (const bool isFrontFirst : {true, false})
    {
        SCOPED_TRACE(isFrontFirst);
        const auto group = GroupRenderable::create("group");
        group->add(isFrontFirst ? std::shared_ptr<Renderable>(inner) : back);
        group->add(isFrontFirst ? std::shared_ptr<Renderable>(back) : inner);
        mRenderer->setScene(group);
        mRenderer->render();

        EXPECT_EQ(mRenderer->pickRenderable(1, 0), front);
        EXPECT_EQ(mRenderer->pickRenderable(5, 0), back);
        EXPECT_EQ(mRenderer->pickRenderable(7, 0), nullptr);
        mRenderer->setScene(nullptr);
    }
}

TEST_F(RendererPicking, OfATransparentSceneTheLastMemberThatIsDrawnOwnsAPixel)
{
    const auto first = std::make_shared<TriangleRenderable>(rectangle(-4.0F, 2.0F, -3.0F, 3.0F, 2.0F, kRed));
    const auto last = std::make_shared<TriangleRenderable>(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 1.0F, kRed));
    first->transparent = true;
    const auto group = GroupRenderable::create("group");
    group->add(first);
    group->add(last);
    mRenderer->setScene(group);
    mRenderer->render();

    EXPECT_EQ(mRenderer->pickRenderable(1, 0), last);
    EXPECT_EQ(mRenderer->pickRenderable(5, 0), first);
}

TEST_F(RendererPicking, AskingForAnOwnerLeavesThePictureAndAsksForARedraw)
{
    const auto scene = show(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 2.0F, kRed));
    const Graphics::ColorImage before = colorImage(*mRenderer);
    mRenderer->setCameraPose(
        Point(0.0F, 0.0F, 0.0F), Eigen::Vector3f(0.0F, 0.0F, -1.0F), Eigen::Vector3f(1.0F, 0.0F, 0.0F)
    );
    mRenderer->camera()->setNeedsRedraw(false);
    ASSERT_FALSE(mRenderer->needsRedraw());

    // Turned by a quarter, what was to the left is below.
    EXPECT_EQ(mRenderer->pickRenderable(1, 0), nullptr);
    EXPECT_EQ(mRenderer->pickRenderable(1, 5), scene);

    EXPECT_TRUE(mRenderer->needsRedraw());
    EXPECT_EQ(shownAt(1, 0), before.pixel(1, 0));
    EXPECT_EQ(shownAt(6, 5), before.pixel(6, 5));
    Point point;
    EXPECT_TRUE(mRenderer->pickPoint(1, 0, point));
    EXPECT_FALSE(mRenderer->pickPoint(6, 5, point));
}

TEST_F(RendererPicking, ARenderableThatCannotDrawEndsTheQuestionForAnOwner)
{
    class Failing final : public TriangleRenderable
    {
    public:
        using TriangleRenderable::TriangleRenderable;

        void render() override
        {
            if (fails)
            {
                throw std::runtime_error("cannot draw");
            }
            TriangleRenderable::render();
        }

        bool fails = false;
    };

    const auto scene = std::make_shared<Failing>(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 2.0F, kRed));
    const auto group = GroupRenderable::create("group");
    group->add(scene);
    mRenderer->setScene(group);
    mRenderer->render();
    scene->fails = true;

    EXPECT_THROW(mRenderer->pickRenderable(1, 0), std::runtime_error);

    scene->fails = false;
    EXPECT_TRUE(mRenderer->needsRedraw());
    EXPECT_EQ(mRenderer->pickRenderable(1, 0), scene);
    mRenderer->render();
    EXPECT_EQ(shownAt(1, 0), kRed);
}

TEST_F(RendererPicking, APixelOutsideThePictureCostsNoReadBack)
{
    Camera camera;
    camera.setViewport(8, 6);
    const Frame frame(device(), camera, 1);
    ReadBack readBack(device(), 8, 6);
    CheckedContext checked(context());
    const Picking picking(&checked, camera, frame, readBack);
    Point point;

    EXPECT_FALSE(picking.pickPoint(8, 0, point));
    EXPECT_TRUE(checked.calls().empty());

    picking.pickPoint(7, 5, point);
    EXPECT_FALSE(checked.calls().empty());
}

TEST_F(RendererPicking, TheClosestPointNeedsATolerance)
{
    show(rectangle(-9.0F, 9.0F, -9.0F, 9.0F, 2.0F, kRed));
    Point point(7.0F, 7.0F, 7.0F);

    EXPECT_FALSE(mRenderer->pickClosestPointWithTolerance(3, 3, 0, point));

    EXPECT_EQ(point, Point(7.0F, 7.0F, 7.0F));
}

TEST_F(RendererPicking, TheClosestPointIsTheOneNearestToTheCamera)
{
    // Only these two pixels show points; the eye is the origin and x counts from 1000.
    show(rectangle(-2.0F, -1.0F, 0.0F, 1.0F, 2.0F, kRed) + rectangle(0.0F, 1.0F, 0.0F, 1.0F, 2.0F, kRed));
    Point point;

    EXPECT_TRUE(mRenderer->pickClosestPointWithTolerance(4, 2, 3, point));

    expectPoint(point, {kOffset - 1.5F, 0.5F, 2.0F});
}

TEST_F(RendererPicking, AToleranceOfOneSearchesTheFourPixelsUpToThePickedOne)
{
    show(rectangle(-1.0F, 0.0F, 0.0F, 1.0F, 2.0F, kRed));  // pixel (3, 2)
    Point point;

    EXPECT_TRUE(mRenderer->pickClosestPointWithTolerance(3, 2, 1, point));
    EXPECT_TRUE(mRenderer->pickClosestPointWithTolerance(4, 3, 1, point));
    EXPECT_FALSE(mRenderer->pickClosestPointWithTolerance(2, 2, 1, point));
    EXPECT_FALSE(mRenderer->pickClosestPointWithTolerance(5, 2, 1, point));
    EXPECT_FALSE(mRenderer->pickClosestPointWithTolerance(3, 4, 1, point));
}

TEST_F(RendererPicking, TheLastColumnAndRowAreNeverSearched)
{
    show(rectangle(3.0F, 4.0F, -3.0F, 3.0F, 2.0F, kRed) + rectangle(-4.0F, 4.0F, -3.0F, -2.0F, 2.0F, kRed));
    Point point;

    EXPECT_FALSE(mRenderer->pickClosestPointWithTolerance(7, 5, 8, point));
    EXPECT_FALSE(mRenderer->pickClosestPointWithTolerance(4, 3, kHuge, point));
    EXPECT_TRUE(mRenderer->pickPoint(7, 5, point));
}

TEST_F(RendererPicking, WithoutHitsFindsNothing)
{
    mRenderer->render();
    Point point;
    Plane plane;

    EXPECT_FALSE(mRenderer->pickPoint(3, 3, point));
    EXPECT_FALSE(mRenderer->pickClosestPointWithTolerance(3, 3, 3, point));
    EXPECT_FALSE(mRenderer->pickPlane(3, 3, 3, plane, point, kThreshold));
}

TEST_F(RendererPicking, DrawsNothing)
{
    const auto scene = std::make_shared<RecordingRenderable>();
    mRenderer->setScene(scene);
    mRenderer->render();
    scene->takeCalls();
    Point point;
    Plane plane;

    mRenderer->pickPoint(3, 3, point);
    mRenderer->pickClosestPointWithTolerance(3, 3, 3, point);
    mRenderer->pickPlane(3, 3, 3, plane, point, kThreshold);

    EXPECT_EQ(scene->takeCalls(), std::vector<std::string>{});
}

TEST_F(RendererPicking, FollowsTheSizeOfThePicture)
{
    show(rectangle(-4.0F, 4.0F, -3.0F, 3.0F, 2.0F, kRed));
    mRenderer->setViewport(80, 60);
    mRenderer->render();
    Point point;

    EXPECT_TRUE(mRenderer->pickPoint(79, 59, point));

    expectPoint(point, {kOffset + 3.95F, -2.95F, 2.0F});
}

TEST_F(RendererPickingPlanes, AWallIsAPlaneThatFacesTheCamera)
{
    showAround(rectangle(-50.0F, 50.0F, -50.0F, 50.0F, -5.0F, kRed));
    Plane plane;
    Point point;

    ASSERT_TRUE(mRenderer->pickPlane(40, 30, 10, plane, point, kThreshold));

    EXPECT_NEAR(plane.a, 0.0F, 1e-5F);
    EXPECT_NEAR(plane.b, 0.0F, 1e-5F);
    EXPECT_NEAR(plane.c, 1.0F, 1e-6F);
    EXPECT_NEAR(plane.evaluate({kOffset, 0.0F, -5.0F}), 0.0F, 1e-3F);
    EXPECT_GT(plane.evaluate(kEye), 0.0F);
    expectPoint(point, {kOffset, 0.0F, -5.0F}, 1e-2F);  // straight ahead is the corner of pixel (40, 30)
}

TEST_F(RendererPickingPlanes, ThePointIsWhereTheRayThroughThePixelMeetsThePlane)
{
    showAround(rectangle(-50.0F, 50.0F, -50.0F, 50.0F, -5.0F, kRed));
    Plane plane;
    Point point;

    ASSERT_TRUE(mRenderer->pickPlane(20, 15, 10, plane, point, kThreshold));

    // A quarter of the picture to the left and up at a distance of 15: 15 tan(30) / 2 up, 4/3 of that to the
    // left.
    const float up = 15.0F * std::tan(0.5235988F) / 2.0F;
    expectPoint(point, {kOffset - up * 4.0F / 3.0F, up, -5.0F}, 1e-2F);
}

TEST_F(RendererPickingPlanes, TwoPicksOfOneFrameAreTheSame)
{
    showAround(
        rectangle(-50.0F, 0.0F, -50.0F, 50.0F, -5.0F, kRed) +
        rectangle(0.0F, 50.0F, -50.0F, 50.0F, -4.0F, kRed)
    );
    Plane first;
    Plane second;
    Point firstPoint;
    Point secondPoint;

    ASSERT_TRUE(mRenderer->pickPlane(38, 30, 12, first, firstPoint, kThreshold));
    ASSERT_TRUE(mRenderer->pickPlane(38, 30, 12, second, secondPoint, kThreshold));

    EXPECT_EQ(first, second);
    EXPECT_EQ(firstPoint, secondPoint);
}

TEST_F(RendererPickingPlanes, TheLargerOfTwoWallsWins)
{
    showAround(
        rectangle(-50.0F, 0.0F, -50.0F, 50.0F, -5.0F, kRed) +
        rectangle(0.0F, 50.0F, -50.0F, 50.0F, -4.0F, kRed)
    );
    Plane plane;
    Point point;

    ASSERT_TRUE(mRenderer->pickPlane(36, 30, 12, plane, point, kThreshold));

    EXPECT_NEAR(plane.evaluate({kOffset, 0.0F, -5.0F}), 0.0F, 1e-3F);
}

TEST_F(RendererPickingPlanes, ASquareOfFewerThanThreePointsHasNoPlane)
{
    showAround(rectangle(-50.0F, 50.0F, -50.0F, 50.0F, -5.0F, kRed));
    Plane plane(1.0F, 2.0F, 3.0F, 4.0F);
    Point point;

    EXPECT_FALSE(mRenderer->pickPlane(40, 30, 0, plane, point, kThreshold));
    EXPECT_FALSE(mRenderer->pickPlane(79, 30, 0, plane, point, kThreshold));
    EXPECT_FALSE(mRenderer->pickPlane(0, 0, 1, plane, point, kThreshold))
        << "one pixel is left of the square";
    EXPECT_EQ(plane, Plane(1.0F, 2.0F, 3.0F, 4.0F));
}

TEST_F(RendererPickingPlanes, AThresholdWithoutPointsHasNoPlane)
{
    showAround(rectangle(-50.0F, 50.0F, -50.0F, 50.0F, -5.0F, kRed));
    Plane plane;
    Point point;

    EXPECT_FALSE(mRenderer->pickPlane(40, 30, 10, plane, point, 0.0));
    EXPECT_FALSE(mRenderer->pickPlane(40, 30, 10, plane, point, std::numeric_limits<double>::quiet_NaN()));
    EXPECT_TRUE(mRenderer->pickPlane(40, 30, 10, plane, point, -kThreshold));
}

TEST_F(RendererPickingPlanes, APlaneBehindTheCameraIsGivenWithoutAPoint)
{
    showAround(rectangle(-50.0F, 50.0F, -50.0F, 50.0F, -5.0F, kRed));
    mRenderer->setCameraPose(
        Point(kOffset, 0.0F, -20.0F), Eigen::Vector3f(0.0F, 0.0F, -1.0F), Eigen::Vector3f(0.0F, 1.0F, 0.0F)
    );
    Plane plane;
    Point point(7.0F, 7.0F, 7.0F);

    EXPECT_FALSE(mRenderer->pickPlane(40, 30, 10, plane, point, kThreshold));

    EXPECT_NEAR(plane.c, -1.0F, 1e-6F) << "the camera is on its positive side";
    EXPECT_EQ(point, Point(7.0F, 7.0F, 7.0F));
}
}  // namespace Render
