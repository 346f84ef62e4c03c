#include "render/gpu/ComException.h"
#include "render/mesh/MeshLoader.h"
#include "render/mesh/MeshRenderable.h"
#include "render/pano/PanoRenderable.h"
#include "render/scene/GroupRenderable.h"
#include "tests/render/pano/RecordingPanoramaLoader.h"
#include "tests/render/renderer/RendererFixture.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/ThreadSignals.h"
#include "tests/support/messageOf.h"

#include <Eigen/Geometry>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
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

constexpr Color kBlack{0, 0, 0, 255};
constexpr Color kWhite{255, 255, 255, 255};
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

/// A panorama seen from its centre, in a picture of 33 x 33 pixels of 90 degrees. The pixel in the middle
/// looks exactly ahead.
class PanoRenderableDevice : public RendererFixture
{
public:
    static constexpr std::uint64_t kSize = 33;
    static constexpr std::uint64_t kMiddle = 16;
    static constexpr float kNear = 0.5F;
    static constexpr float kFar = 100.0F;

    void SetUp() override
    {
        RendererFixture::SetUp();
        if (mRenderer)
        {
            makeRenderer(true);
        }
    }

    void makeRenderer(bool reversedZ)
    {
        mRenderer = std::make_unique<Renderer>(reversedZ);
        mRenderer->setViewport(kSize, kSize);
        mRenderer->setPerspective(90.0F, kNear, kFar, 0.0F, 0.0F);
        mRenderer->setBackgroundColor(kBlack);
        lookAlong(Vector3f::UnitX());
    }

    void lookAlong(const Vector3f& direction)
    {
        const bool isUpright = std::abs(direction.normalized().z()) < 0.9F;
        mRenderer->setCameraPose(
            Point3(0.0F, 0.0F, 0.0F),
            direction,
            isUpright ? Vector3f(Vector3f::UnitZ()) : Vector3f(Vector3f::UnitY())
        );
    }

    void makePano(std::uint64_t colorLevels, std::uint64_t depthLevels)
    {
        loader = std::make_shared<RecordingPanoramaLoader>(colorLevels, depthLevels);
        pano = PanoRenderable::create(loader, "pano");
    }

    void showPano()
    {
        mRenderer->setScene(pano);
        mRenderer->render();
    }

    /// Direction of a pixel in the world, of unit length.
    Vector3f direction(std::uint64_t x, std::uint64_t y) const
    {
        const Vector3f inView(
            2.0F * (static_cast<float>(x) + 0.5F) / kSize - 1.0F,
            1.0F - 2.0F * (static_cast<float>(y) + 0.5F) / kSize,
            -1.0F
        );
        const Eigen::Matrix3f toWorld = mRenderer->viewMatrix().topLeftCorner<3, 3>().transpose();
        return (toWorld * inView).normalized();
    }

    /// Where the frame has put a pixel.
    Vector3f positionAt(std::uint64_t x, std::uint64_t y)
    {
        Point3 point;
        EXPECT_TRUE(mRenderer->pickPoint(x, y, point)) << x << ", " << y;
        return {point.x, point.y, point.z};
    }

    void expectDistance(std::uint64_t x, std::uint64_t y, float distance)
    {
        SCOPED_TRACE(testing::Message() << x << ", " << y);
        const Vector3f expected = distance * direction(x, y);
        const Vector3f actual = positionAt(x, y);
        EXPECT_NEAR((actual - expected).norm(), 0.0F, 2e-4F * distance);
        const Eigen::Vector4f clip = mRenderer->camera()->viewProjectionMatrix() * actual.homogeneous();
        EXPECT_NEAR(depthImage(*mRenderer).pixel(x, y), clip.z() / clip.w(), 1e-5F);
    }

    /// The far plane less one unit, along the line of sight.
    float farthest(std::uint64_t x, std::uint64_t y) const
    {
        const Vector3f ahead = mRenderer->viewDirection().normalized();
        return (kFar - 1.0F) / direction(x, y).dot(ahead);
    }

    /// A plate of constant distance ahead of a camera that looks along x, over the given range of y.
    static std::shared_ptr<MeshRenderable> plate(float x, float minY, float maxY)
    {
        const auto corner = [&](float y, float z) {
            return VertexPosNormalTexCoordColor(
                {x, y, z}, Vector3f::UnitX(), {0.0F, 0.0F}, Color(0, 0, 255, 255)
            );
        };
        const auto a = corner(minY, -20.0F), b = corner(maxY, -20.0F), c = corner(maxY, 20.0F),
                   d = corner(minY, 20.0F);
        return MeshRenderable::create(
            std::make_shared<PlateLoader>(std::vector{a, b, c, a, c, d}), 1.0, "plate"
        );
    }

    std::shared_ptr<RecordingPanoramaLoader> loader;
    std::shared_ptr<PanoRenderable> pano;
};
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

TEST_F(PanoRenderableDevice, AFinerLevelAppearsOnlyWhenComplete)
{
    makePano(2, 1);
    mRenderer->setScene(pano);
    std::vector<Color> shown;
    loader->onFetch = [&](const std::string&)
    {
        mRenderer->render();  // what has arrived until now
        shown.push_back(shownAt(kMiddle, kMiddle));
    };

    pano->loadPanoramaTiles();
    mRenderer->render();
    shown.push_back(shownAt(kMiddle, kMiddle));

    const Color coarse(10, 0, 0, 255);
    EXPECT_THAT(shown, testing::ElementsAre(kWhite, kWhite, coarse, coarse, Color(60, 0, 0, 255)));
}

TEST_F(PanoRenderableDevice, ATileThatIsMissingLeavesTheCoarserLevelAndTheErrorToSee)
{
    makePano(2, 1);
    loader->onFetch = [](const std::string& tile)
    {
        if (tile == "colour 1: 1, 0")
        {
            throw std::runtime_error("broken tile");
        }
    };
    showPano();
    pano->startAsyncPanoramaTilesLoading(nullptr);

    EXPECT_EQ(messageOf<std::runtime_error>([&] { pano->waitForLoadingComplete(); }), "broken tile");

    mRenderer->render();
    EXPECT_EQ(shownAt(kMiddle, kMiddle), Color(10, 0, 0, 255));
    EXPECT_EQ(pano->loadingState(), JobState::Failed);
    EXPECT_FALSE(pano->isLoadingHealthy(false));
    EXPECT_EQ(messageOf<std::runtime_error>([&] { pano->isLoadingHealthy(true); }), "broken tile");
    loader->onFetch = nullptr;
    pano->startAsyncPanoramaTilesLoading(nullptr);
    pano->waitForLoadingComplete();
    EXPECT_TRUE(pano->isLoadingHealthy(true));
    mRenderer->render();
    EXPECT_EQ(shownAt(kMiddle, kMiddle), Color(60, 0, 0, 255));
}

TEST_F(PanoRenderableDevice, ArrivingTilesAskTheHostForAFrame)
{
    makePano(1, 1);
    const auto group = GroupRenderable::create("group");
    group->add(pano);
    mRenderer->setScene(group);
    mRenderer->render();
    EXPECT_FALSE(mRenderer->needsRedraw());
    Semaphore tileCame;
    pano->startAsyncPanoramaTilesLoading([&] { tileCame.release(); });
    tileCame.acquire();
    EXPECT_TRUE(mRenderer->needsRedraw());
    tileCame.acquire();
    pano->waitForLoadingComplete();

    EXPECT_TRUE(pano->isLoadingComplete());
    mRenderer->render();
    EXPECT_FALSE(mRenderer->needsRedraw());
    EXPECT_EQ(shownAt(kMiddle, kMiddle), Color(10, 0, 0, 255));
}

TEST_F(PanoRenderableDevice, StoppingLeavesWhatIsComplete)
{
    makePano(12, 1);
    Semaphore levelOneBegun;
    loader->onFetch = [&](const std::string& tile)
    {
        if (tile.starts_with("colour 1:"))
        {
            levelOneBegun.release();
        }
        if (!tile.ends_with(" 0: 0, 0"))
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));  // all of them would take 20 s
        }
    };
    showPano();
    pano->startAsyncPanoramaTilesLoading(nullptr);
    levelOneBegun.acquire();

    pano->stopAsyncPanoramaTilesLoading();

    EXPECT_EQ(pano->loadingState(), JobState::Stopped);
    EXPECT_FALSE(pano->isLoadingComplete());
    EXPECT_TRUE(pano->isLoadingHealthy(true));
    const std::size_t fetchedCount = loader->fetched().size();
    mRenderer->render();
    EXPECT_NE(shownAt(kMiddle, kMiddle), kWhite);
    EXPECT_EQ(loader->fetched().size(), fetchedCount);
}

TEST_F(PanoRenderableDevice, GoingAwayStopsTheLoading)
{
    makePano(12, 1);
    Semaphore begun;
    loader->onFetch = [&](const std::string&)
    {
        begun.release();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    };
    pano->startAsyncPanoramaTilesLoading(nullptr);
    begun.acquire();

    pano.reset();

    EXPECT_LT(loader->fetched().size(), 4096U);
}

TEST_F(PanoRenderableDevice, EnteringASceneAgainKeepsItsTiles)
{
    makePano(1, 1);
    pano->loadPanoramaTiles();
    showPano();
    mRenderer->setScene(GroupRenderable::create("other"));
    mRenderer->render();
    EXPECT_EQ(shownAt(1, 1), kBlack);

    showPano();

    EXPECT_EQ(shownAt(1, 1), Color(10, 0, 0, 255));
}

TEST_F(PanoRenderableDevice, OnAnotherDeviceItIsLoadedAgain)
{
    makePano(2, 2);
    pano->loadPanoramaTiles();
    showPano();
    EXPECT_EQ(shownAt(1, 1), Color(60, 0, 0, 255));
    mRenderer->setScene(nullptr);
    makeRenderer(true);

    showPano();

    EXPECT_EQ(shownAt(1, 1), Color(60, 0, 0, 255));
}

TEST_F(PanoRenderableDevice, OnAnotherDeviceALoadingOnItsOwnThreadBeginsAnew)
{
    makePano(2, 2);
    pano->startAsyncPanoramaTilesLoading(nullptr);
    pano->waitForLoadingComplete();
    showPano();
    makeRenderer(true);

    showPano();
    pano->waitForLoadingComplete();
    mRenderer->render();

    EXPECT_EQ(shownAt(1, 1), Color(60, 0, 0, 255));
}

TEST_F(PanoRenderableDevice, OnAnotherDeviceALoadingThatWasStoppedStaysSo)
{
    /// Colour tiles of the finer level never come before the stop.
    class StallingLoader : public RecordingPanoramaLoader
    {
    public:
        using RecordingPanoramaLoader::RecordingPanoramaLoader;

        std::optional<Graphics::ColorImage> fetchColorTile(
            const TileIndex& tile, const std::stop_token& stopToken
        ) override
        {
            while (tile.level > 0 && !stopToken.stop_requested())
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            return tile.level > 0 ? std::nullopt : RecordingPanoramaLoader::fetchColorTile(tile, stopToken);
        }
    };

    pano = PanoRenderable::create(std::make_shared<StallingLoader>(2, 2), "pano");
    std::atomic<int> tiles = 0;
    Semaphore tileCame;
    pano->startAsyncPanoramaTilesLoading(
        [&]
        {
            ++tiles;
            tileCame.release();
        }
    );
    tileCame.acquire();
    pano->stopAsyncPanoramaTilesLoading();
    ASSERT_FALSE(pano->isLoadingComplete());
    showPano();
    makeRenderer(true);
    tiles = 0;

    showPano();

    EXPECT_EQ(pano->loadingState(), JobState::Stopped);
    EXPECT_EQ(tiles, 0);
    EXPECT_EQ(shownAt(1, 1), kWhite);
}

TEST_F(PanoRenderableDevice, GivesItsTexturesBack)
{
    makePano(2, 2);
    pano->loadPanoramaTiles();
    const auto before = objectsOf(mRenderer->device());
    showPano();
    ASSERT_GT(objectsOf(mRenderer->device()), before);

    pano->deinit();

    EXPECT_EQ(objectsOf(mRenderer->device()), before);
    mRenderer->render();  // nothing of it, and no failure
    EXPECT_EQ(shownAt(1, 1), kBlack);
}

TEST_F(PanoRenderableDevice, TilesThatCouldNotBeUploadedAreUploadedByTheNextFrame)
{
    makePano(2, 2);
    pano->loadPanoramaTiles();
    mRenderer->setScene(pano);
    faultsOf(mRenderer->device()).failAt(2, CallFaults::Kind::OutOfMemory);
    EXPECT_THROW(mRenderer->render(), ComException);
    ASSERT_EQ(faultsOf(mRenderer->device()).failed(), "Map");

    EXPECT_TRUE(mRenderer->needsRedraw());
    mRenderer->render();

    EXPECT_EQ(shownAt(1, 1), Color(60, 0, 0, 255));
}

TEST_F(PanoRenderableDevice, HasNoPartInTheExtentOfTheScene)
{
    makePano(1, 1);

    EXPECT_EQ(pano->boundingBox(), (Math::NBoundingBox<float, 3>()));
}

TEST_F(PanoRenderableDevice, LeavesTheContextAsItFoundIt)
{
    makePano(2, 2);
    CheckedContext checked(context());
    pano->loadPanoramaTiles();
    pano->init(1, std::make_shared<Camera>(), device(), &checked);
    setViewport(8, 6);

    pano->render();

    EXPECT_THAT(boundObjects(context()), testing::IsEmpty());
    EXPECT_THAT(checked.calls(), testing::Contains("DrawInstanced 4 1 0 0"));
    pano.reset();  // before the context that it holds
}

TEST_F(PanoRenderableDevice, ALevelThatNoTextureCanHoldIsAnError)
{
    makePano(1, 1);
    loader->tileColumns = 20000;

    EXPECT_THROW(mRenderer->setScene(pano), ComException);
}
}  // namespace Render
