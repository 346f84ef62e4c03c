// All threads of a host with a full scene at work at once; the thread sanitizer's lane is what it is for.
#include "math/NBoundingBox.h"
#include "render/pano/PanoRenderable.h"
#include "render/pointcloud/filters/BoxFilter.h"
#include "render/scene/GroupRenderable.h"
#include "tests/render/pano/RecordingPanoramaLoader.h"
#include "tests/render/pointcloud/TestCloud.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
using Position = Math::Point<float, 3>;

constexpr auto kDuration = std::chrono::seconds(3);
constexpr float kMillion = 1e6F;

/// Two clouds that share a budget, which holds half of their points, and a panorama that is loaded again and
/// again.
class EverythingAtOnceDevice : public TestCloudFixture
{
protected:
    void SetUp() override
    {
        TestCloudFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        writeMeadow(mFirstFolder.path());
        writeMeadow(mSecondFolder.path());
        mPointCount = meadow().size();
        mFirst = open(mFirstFolder.path(), mPointCount);
        mSecond = open(mSecondFolder.path(), mPointCount);
        mRenderer = makeRenderer();
        mScene = GroupRenderable::create("all");
        mScene->add(mFirst);
        mScene->add(mSecond);
        mRenderer->setScene(mScene);
        lookAtMeadow(*mRenderer);
    }

    /// Makes a query of all points of the first cloud, on the thread that drives the renderer, unless one
    /// waits.
    void offerQuery()
    {
        const std::scoped_lock lock(mMutex);
        if (!mOffered)
        {
            const Math::NBoundingBox<float, 3> everything(
                Position(-kMillion, -kMillion, -kMillion), Position(kMillion, kMillion, kMillion)
            );
            mOffered.emplace(mFirst->createPointCloudQuery(
                new BoxFilter(everything), kAllLevels, 0.0F, std::chrono::nanoseconds::max()
            ));
        }
    }

    std::optional<PointCloudQuery> takeQuery()
    {
        const std::scoped_lock lock(mMutex);
        return std::exchange(mOffered, std::nullopt);
    }

    /// Runs the queries that are offered until it is told to stop; counts them, and those that had another
    /// number of points than the cloud.
    void query(const std::atomic<bool>& isOver)
    {
        std::vector<VertexPosColor> points(mPointCount + 1);
        while (!isOver)
        {
            std::optional<PointCloudQuery> query = takeQuery();
            if (!query)
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                continue;
            }
            std::size_t count = 0;
            while (!query->isFinished())
            {
                count += query->getNextPointChunk(points.data(), points.size());
            }
            ++mQueries;
            mWrongQueries += count == mPointCount ? 0 : 1;
        }
    }

    /// Adds a panorama that loads in the background.
    void addPanorama()
    {
        const auto loader = std::make_shared<RecordingPanoramaLoader>(4, 4);
        loader->depthAt = [](auto, auto, auto) { return 100.0F; };
        const auto panorama = PanoRenderable::create(loader, "pano");
        mScene->add(panorama);
        panorama->startAsyncPanoramaTilesLoading([] {});
    }

    TemporaryFolder mFirstFolder;
    TemporaryFolder mSecondFolder;
    std::size_t mPointCount = 0;
    std::shared_ptr<PointCloudRenderable> mFirst;
    std::shared_ptr<PointCloudRenderable> mSecond;
    std::unique_ptr<Renderer> mRenderer;
    std::shared_ptr<GroupRenderable> mScene;
    std::mutex mMutex;                        // guards mOffered
    std::optional<PointCloudQuery> mOffered;  // for the querying thread
    std::atomic<int> mQueries = 0;
    std::atomic<int> mWrongQueries = 0;
};
}  // namespace

TEST_F(EverythingAtOnceDevice, StreamsAndQueriesWhileTheCameraMoves)
{
    std::atomic<int> publications = 0;
    mFirst->startAsyncReload([&] { ++publications; }, kAllLevels);
    mSecond->startAsyncReload([&] { ++publications; }, kAllLevels);
    std::atomic<bool> isOver = false;
    std::thread querying([&] { query(isOver); });

    Graphics::ColorImage image;
    const auto end = std::chrono::steady_clock::now() + kDuration;
    for (int frame = 0; std::chrono::steady_clock::now() < end; ++frame)
    {
        const float angle = 0.05F * static_cast<float>(frame);
        mRenderer->setCameraPose(
            Position(8.0F + 20.0F * std::cos(angle), 6.0F + 20.0F * std::sin(angle), 15.0F),
            Position(8.0F, 6.0F, 0.0F),
            Eigen::Vector3f(Eigen::Vector3f::UnitZ())
        );
        constexpr int kFramesOfAPanorama = 10;
        if (frame % kFramesOfAPanorama == 0)
        {
            mScene->removeByName("pano");
            addPanorama();
        }
        offerQuery();
        mRenderer->render();
        mRenderer->getColorImage(image);
    }
    mScene->removeByName("pano");
    isOver = true;
    querying.join();

    EXPECT_GT(mQueries, 0);
    EXPECT_EQ(mWrongQueries, 0);
    EXPECT_GT(publications, 0);
    EXPECT_TRUE(mFirst->isAsyncReloadHealthy(true));
    EXPECT_TRUE(mSecond->isAsyncReloadHealthy(true));

    // Then both come to rest in the picture.
    lookAtMeadow(*mRenderer);
    const Math::Color background(255, 255, 255, 255);
    const bool isShown = eventually(
        [&]
        {
            image = picture(*mRenderer);
            return mFirst->numVisiblePoints() > 0 && mSecond->numVisiblePoints() > 0 &&
                   countOfOthers(image, background) > 0;
        }
    );
    EXPECT_TRUE(isShown);
}
}  // namespace Render
