#include "render/mesh/MeshLoader.h"
#include "render/mesh/MeshRenderable.h"
#include "render/scene/GroupRenderable.h"
#include "tests/render/pano/PanoFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <numbers>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
using Core::JobState;
using Eigen::Vector3f;
using Math::Color;
using Point3 = Math::Point<float, 3>;

constexpr float kFarthest = std::numeric_limits<float>::max();

/// One part of a mesh.
class PlateLoader : public MeshLoader
{
public:
    explicit PlateLoader(std::vector<VertexPosNormalTexCoordColor> corners) : mCorners(std::move(corners)) {}

    void load(const MeshPartReceiver& receivePart) const override { receivePart(mCorners); }

private:
    std::vector<VertexPosNormalTexCoordColor> mCorners;
};

/// A plate of constant distance ahead of a camera that looks along x, over the given range of y.
std::shared_ptr<MeshRenderable> plate(float x, float minY, float maxY)
{
    const auto corner = [&](float y, float z) {
        return VertexPosNormalTexCoordColor(
            {x, y, z}, Vector3f::UnitX(), {0.0F, 0.0F}, Color(0, 0, 255, 255)
        );
    };
    const auto a = corner(minY, -20.0F), b = corner(maxY, -20.0F), c = corner(maxY, 20.0F),
               d = corner(minY, 20.0F);
    return MeshRenderable::create(std::make_shared<PlateLoader>(std::vector{a, b, c, a, c, d}), 1.0, "plate");
}
}  // namespace

TEST_F(PanoRenderableDevice, WithoutALoaderNothingIsDrawn)
{
    pano = PanoRenderable::create(nullptr, "pano");
    showPano();

    EXPECT_EQ(shownAt(kMiddle, kMiddle), kBlack);
    EXPECT_EQ(pano->loadingState(), JobState::NoSource);
    EXPECT_THROW(pano->waitForLoadingComplete(), std::logic_error);
    EXPECT_EQ(pano->loadPanoramaTiles(), JobState::NoSource);
    EXPECT_EQ(pano->loadingState(), JobState::NoSource);
    EXPECT_FALSE(pano->needsRedraw());
}

TEST_F(PanoRenderableDevice, WhatHasNotArrivedIsWhiteAndFar)
{
    makePano(2, 2);
    showPano();

    for (const auto& [x, y] : {std::pair(0U, 0U), std::pair(16U, 16U), std::pair(30U, 7U)})
    {
        EXPECT_EQ(shownAt(x, y), kWhite);
        expectDistance(x, y, farthest(x, y));
    }
}

TEST_F(PanoRenderableDevice, PixelsLieAtTheirMeasuredDistanceInBothDepthConventions)
{
    for (const bool reversedZ : {true, false})
    {
        SCOPED_TRACE(reversedZ);
        makeRenderer(reversedZ);
        makePano(1, 1);
        loader->depthAt = [](auto, auto, auto) { return 7.0F; };
        pano->loadPanoramaTiles();
        for (const Vector3f& ahead :
             {Vector3f(1, 0, 0), Vector3f(-1, 0.3F, 0.2F), Vector3f(0, 0, 1), Vector3f(0, 0, -1)})
        {
            lookAlong(ahead);
            showPano();
            for (const auto& [x, y] :
                 {std::pair(0U, 0U), std::pair(16U, 16U), std::pair(30U, 7U), std::pair(5U, 32U)})
            {
                expectDistance(x, y, 7.0F);
                EXPECT_EQ(shownAt(x, y), Color(10, 0, 0, 255));
            }
        }
    }
}

TEST_F(PanoRenderableDevice, BothWorldPositionsOfEachPixelAreWhereItsRayMeetsTheSphere)
{
    for (const bool reversedZ : {true, false})
    {
        SCOPED_TRACE(reversedZ);
        makeRenderer(reversedZ);
        makePano(1, 1);
        loader->depthAt = [](auto, auto, auto) { return 7.0F; };
        pano->loadPanoramaTiles();
        lookAlong(Vector3f(1.0F, 0.3F, -0.2F));
        showPano();

        std::vector<VertexPosColor> points;
        mRenderer->getPoints(points);  // of the target worldPosition, row by row

        ASSERT_EQ(points.size(), kSize * kSize);
        for (std::uint64_t y = 0; y < kSize; ++y)
        {
            for (std::uint64_t x = 0; x < kSize; ++x)
            {
                const Vector3f expected = 7.0F * direction(x, y);
                const Point3& world = points[y * kSize + x].position;
                ASSERT_NEAR((Vector3f(world.x, world.y, world.z) - expected).norm(), 0.0F, 1e-3F);
                if ((x + y) % 8 == 0)
                {
                    const Vector3f exact = positionAt(x, y);  // of the target exactWorldPosition
                    ASSERT_NEAR((exact - expected).norm(), 0.0F, 1e-3F);
                }
            }
        }
    }
}

TEST_F(PanoRenderableDevice, EachPixelShowsTheTexelOfItsDirection)
{
    makePano(1, 1);
    loader->tileColumns = 64;
    loader->tileRows = 32;
    loader->colorAt = [](auto, std::uint64_t x, std::uint64_t y)
    { return Color(static_cast<unsigned char>(x), static_cast<unsigned char>(y), 0, 255); };
    loader->depthAt = [](auto, std::uint64_t x, std::uint64_t y)
    { return static_cast<float>(2 + x + y % 3); };
    pano->loadPanoramaTiles();
    int compared = 0;
    for (const Vector3f& ahead :
         {Vector3f(1, 0.1F, 0.2F), Vector3f(-1, 0, 0), Vector3f(0.1F, 0.2F, 1), Vector3f(0, 0.1F, -1)})
    {
        lookAlong(ahead);
        showPano();
        for (std::uint64_t y = 0; y < kSize; y += 2)
        {
            for (std::uint64_t x = 0; x < kSize; x += 2)
            {
                const Vector3f d = direction(x, y);
                const float u =
                    64.0F * (0.5F - std::atan2(d.y(), d.x()) / (2.0F * std::numbers::pi_v<float>));
                const float v = 32.0F * (0.5F - std::asin(d.z()) / std::numbers::pi_v<float>);
                const float border = 0.02F;  // of a texel, more than the errors of the shader's arcs
                if (std::abs(u - std::round(u)) < border || std::abs(v - std::round(v)) < border)
                {
                    continue;
                }
                const auto column = static_cast<std::uint64_t>(u);
                const auto row = static_cast<std::uint64_t>(v);
                const Color shown = shownAt(x, y);
                ASSERT_EQ(shown.r(), column) << x << ", " << y;
                ASSERT_EQ(shown.g(), row) << x << ", " << y;
                if (compared % 50 == 0)
                {
                    expectDistance(x, y, static_cast<float>(2 + column + row % 3));
                }
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 900);
}

TEST_F(PanoRenderableDevice, SeamAndPolesShowNoLine)
{
    makePano(1, 1);
    loader->tileColumns = 64;
    loader->tileRows = 32;
    loader->colorAt = [](auto, auto, auto) { return Color(90, 120, 30, 255); };
    loader->depthAt = [](auto, auto, auto) { return 7.0F; };
    pano->loadPanoramaTiles();
    for (const Vector3f& ahead : {Vector3f(-1, 0, 0), Vector3f(0, 0, 1), Vector3f(0, 0, -1)})
    {
        lookAlong(ahead);
        showPano();
        const Graphics::ColorImage image = colorImage(*mRenderer);
        for (std::uint64_t y = 0; y < kSize; ++y)
        {
            for (std::uint64_t x = 0; x < kSize; ++x)
            {
                ASSERT_EQ(image.pixel(x, y), Color(90, 120, 30, 255)) << x << ", " << y;
            }
            expectDistance(kMiddle, y, 7.0F);
        }
    }
}

TEST_F(PanoRenderableDevice, AnEyeBesideTheCentreSeesTheSameTexelsInBothDepthConventions)
{
    for (const bool reversedZ : {true, false})
    {
        SCOPED_TRACE(reversedZ);
        makeRenderer(reversedZ);
        mRenderer->setPerspective(90.0F, 0.01F, kFar, 0.0F, 0.0F);
        makePano(1, 1);
        loader->tileColumns = 64;
        loader->tileRows = 32;
        loader->colorAt = [](auto, std::uint64_t x, std::uint64_t y)
        { return Color(static_cast<unsigned char>(x), static_cast<unsigned char>(y), 0, 255); };
        pano->loadPanoramaTiles();
        // farther from the centre than the near plane from the eye, and far less than a texel as seen from
        // afar
        mRenderer->setCameraPose(
            Point3(0.02F, -0.02F, 0.02F), Vector3f(1.0F, 0.1F, 0.2F), Vector3f(Vector3f::UnitZ())
        );
        showPano();

        for (const auto& [x, y] :
             {std::pair(2U, 3U), std::pair(18U, 14U), std::pair(29U, 7U), std::pair(5U, 31U)})
        {
            const Vector3f d = direction(x, y);
            const float u = 64.0F * (0.5F - std::atan2(d.y(), d.x()) / (2.0F * std::numbers::pi_v<float>));
            const float v = 32.0F * (0.5F - std::asin(d.z()) / std::numbers::pi_v<float>);
            ASSERT_GT(std::abs(u - std::round(u)), 0.01F) << x << ", " << y;
            ASSERT_GT(std::abs(v - std::round(v)), 0.01F) << x << ", " << y;
            EXPECT_EQ(shownAt(x, y).r(), static_cast<unsigned char>(u)) << x << ", " << y;
            EXPECT_EQ(shownAt(x, y).g(), static_cast<unsigned char>(v)) << x << ", " << y;
        }
    }
}

TEST_F(PanoRenderableDevice, HidesAndIsHiddenInBothDepthConventions)
{
    for (const bool reversedZ : {true, false})
    {
        SCOPED_TRACE(reversedZ);
        makeRenderer(reversedZ);
        makePano(1, 1);
        loader->depthAt = [](auto, auto, auto) { return 10.0F; };
        pano->loadPanoramaTiles();
        const auto group = GroupRenderable::create("group");
        group->add(plate(5.0F, 1.0F, 4.0F));     // before the sphere, left of the middle
        group->add(plate(12.0F, -9.0F, -3.0F));  // behind it, right of the middle
        group->add(pano);
        mRenderer->setScene(group);
        mRenderer->render();

        EXPECT_EQ(shownAt(8, kMiddle).r(), 0);  // y = 2.6 at x = 5
        EXPECT_GT(shownAt(8, kMiddle).b(), 150);
        EXPECT_NEAR(positionAt(8, kMiddle).x(), 5.0F, 1e-3F);
        EXPECT_EQ(shownAt(24, kMiddle), Color(10, 0, 0, 255));
        expectDistance(24, kMiddle, 10.0F);
    }
}

TEST_F(PanoRenderableDevice, UnmeasuredPixelsHideNothing)
{
    makePano(1, 1);
    loader->depthAt = [](auto, auto, auto) { return kFarthest; };
    pano->loadPanoramaTiles();
    const auto group = GroupRenderable::create("group");
    group->add(pano);
    group->add(plate(90.0F, 0.0F, 90.0F));
    mRenderer->setScene(group);
    mRenderer->render();

    EXPECT_NEAR(positionAt(4, kMiddle).x(), 90.0F, 0.01F);
    expectDistance(28, kMiddle, farthest(28, kMiddle));
}

TEST_F(PanoRenderableDevice, APyramidWithoutDepthIsFar)
{
    makePano(1, 0);
    pano->loadPanoramaTiles();
    showPano();

    EXPECT_EQ(shownAt(3, 4), Color(10, 0, 0, 255));
    expectDistance(3, 4, farthest(3, 4));
}

TEST_F(PanoRenderableDevice, ItsMatrixPlacesTurnsAndScalesIt)
{
    makePano(1, 1);
    loader->depthAt = [](auto, auto, auto) { return 4.0F; };
    pano->loadPanoramaTiles();
    showPano();
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix.topLeftCorner<3, 3>() *= 2.0F;
    matrix.topRightCorner<3, 1>() = Vector3f(0.5F, -0.25F, 1.0F);
    pano->setMatrix(matrix);
    EXPECT_TRUE(pano->needsRedraw());
    mRenderer->setCameraPose(
        Point3(0.5F, -0.25F, 1.0F), Vector3f(Vector3f::UnitX()), Vector3f(Vector3f::UnitZ())
    );
    mRenderer->render();

    const Vector3f expected = Vector3f(0.5F, -0.25F, 1.0F) + 8.0F * direction(7, 9);
    EXPECT_NEAR((positionAt(7, 9) - expected).norm(), 0.0F, 2e-3F);
}

TEST_F(PanoRenderableDevice, InfinityIsScaledBackIntoTheFarPlane)
{
    makePano(1, 1);
    loader->depthAt = [](auto, auto, auto) { return kFarthest; };
    pano->loadPanoramaTiles();
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix.topLeftCorner<3, 3>() *= 2.0F;
    pano->setMatrix(matrix);
    showPano();

    const float alongView = 2.0F * (kFar / 2.0F - 1.0F);
    expectDistance(5, 6, alongView / direction(5, 6).x());
}

TEST_F(PanoRenderableDevice, FollowsItsParent)
{
    makePano(1, 1);
    loader->depthAt = [](auto, auto, auto) { return 4.0F; };
    pano->loadPanoramaTiles();
    const auto group = GroupRenderable::create("group");
    group->add(pano);
    mRenderer->setScene(group);
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix(0, 3) = 3.0F;
    group->setMatrix(matrix);
    mRenderer->setCameraPose(
        Point3(3.0F, 0.0F, 0.0F), Vector3f(Vector3f::UnitX()), Vector3f(Vector3f::UnitZ())
    );
    mRenderer->render();

    EXPECT_NEAR(
        (positionAt(2, 3) - (Vector3f(3.0F, 0.0F, 0.0F) + 4.0F * direction(2, 3))).norm(), 0.0F, 1e-3F
    );
}
}  // namespace Render
