#include "render/gpu/ComException.h"
#include "render/scene/GroupRenderable.h"
#include "tests/render/pano/PanoFixture.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/ThreadSignals.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

namespace Render
{
namespace
{
using Core::JobState;
using Eigen::Vector3f;
using Math::Color;
}  // namespace

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
