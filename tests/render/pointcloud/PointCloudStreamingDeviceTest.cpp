#include "octree/Octree.h"
#include "render/pointcloud/PointCloudRenderable.h"
#include "render/scene/GroupRenderable.h"
#include "render/scene/RenderMode.h"
#include "tests/render/pointcloud/TestCloud.h"
#include "tests/support/ImageComparer.h"
#include "tests/support/messageOf.h"

#include <Eigen/Geometry>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>

namespace
{
using Render::PointCloudRenderable;
using testing::HasSubstr;

/// What a test that waited for it would not live to see.
constexpr std::chrono::hours kNever(1);

/// What the exceptions nested in this one say, the innermost last.
std::string textsOf(const std::exception& error)
{
    std::string result = error.what();
    try
    {
        std::rethrow_if_nested(error);
    }
    catch (const std::exception& nested)
    {
        result += " | " + textsOf(nested);
    }
    return result;
}

/// The meadow, loaded in the background.
class PointCloudStreamingTest : public TestCloudFixture
{
protected:
    void SetUp() override
    {
        TestCloudFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        writeMeadow(mFolder.path());
        mCloud = open(mFolder.path());
        mRenderer = makeRenderer();
        mRenderer->setScene(mCloud);
        lookAtMeadow(*mRenderer);
    }

    static bool complete(const PointCloudRenderable& cloud)
    {
        return eventually([&cloud] { return cloud.isAsyncReloadComplete(); });
    }

    /// Whether the change makes the loading begin anew.
    bool restarts(const std::function<void()>& change)
    {
        EXPECT_TRUE(complete(*mCloud));
        const int before = mProgress;
        change();
        // Without a restart the last run stays the last one. A restart shows as one more publication at its
        // end.
        return !mCloud->isAsyncReloadComplete() || mProgress > before;
    }

    TemporaryFolder mFolder;
    std::shared_ptr<PointCloudRenderable> mCloud;
    std::unique_ptr<Render::Renderer> mRenderer;
    std::atomic<int> mProgress = 0;
};
}  // namespace

TEST_F(PointCloudStreamingTest, LoadsInTheBackgroundUntilAllIsThere)
{
    mCloud->startAsyncReload([this] { ++mProgress; }, kAllLevels);
    EXPECT_TRUE(mCloud->isAsyncReloadActive());

    EXPECT_TRUE(complete(*mCloud));

    EXPECT_TRUE(mCloud->isAsyncReloadHealthy(true));
    EXPECT_GE(mProgress, 1);
    EXPECT_TRUE(mRenderer->needsRedraw());
    mRenderer->render();
    EXPECT_GT(mCloud->numVisiblePoints(), 1000u);
    EXPECT_FALSE(mRenderer->needsRedraw()) << "nothing more is coming";
}

TEST_F(PointCloudStreamingTest, ASecondStartIsIgnored)
{
    std::atomic<int> second = 0;
    mCloud->startAsyncReload([this] { ++mProgress; }, kAllLevels);

    mCloud->startAsyncReload([&second] { ++second; }, 0);

    EXPECT_TRUE(complete(*mCloud));
    EXPECT_EQ(second, 0);
}

TEST_F(PointCloudStreamingTest, ALoaderThatIsStartedBeforeTheSceneGoesOnAtOnceWhenItEnters)
{
    constexpr int kTries = 10;
    for (int i = 0; i < kTries; ++i)
    {
        const auto cloud = open(mFolder.path());
        cloud->setReloadRetryDelay(kNever);
        const auto renderer = makeRenderer();
        lookAtMeadow(*renderer);
        cloud->startAsyncReload(nullptr, kAllLevels);
        if (i % 2 == 0)  // else it may fail while the cloud enters
        {
            ASSERT_TRUE(eventually([&] { return !cloud->isAsyncReloadHealthy(false); }));
        }

        renderer->setScene(cloud);

        ASSERT_TRUE(complete(*cloud));
        EXPECT_TRUE(cloud->isAsyncReloadHealthy(true));
        renderer->render();
        EXPECT_GT(cloud->numVisiblePoints(), 1000U);
    }
}

TEST_F(PointCloudStreamingTest, NoCallbackIsNeededAndAPlainFunctionWillDo)
{
    static std::atomic<int> calls;
    calls = 0;
    mCloud->startAsyncReload(nullptr, kAllLevels);
    EXPECT_TRUE(complete(*mCloud));
    mCloud->stopAsyncReload();

    mCloud->startAsyncReload(static_cast<void (*)()>([] { ++calls; }), kAllLevels);
    EXPECT_TRUE(complete(*mCloud));
    EXPECT_GE(calls, 1);
}

TEST_F(PointCloudStreamingTest, StoppingKeepsWhatIsThere)
{
    mCloud->startAsyncReload(nullptr, kAllLevels);
    ASSERT_TRUE(complete(*mCloud));

    mCloud->stopAsyncReload();

    EXPECT_FALSE(mCloud->isAsyncReloadActive());
    mRenderer->render();
    EXPECT_GT(mCloud->numVisiblePoints(), 1000u);
}

TEST_F(PointCloudStreamingTest, MayBeStoppedAndDestroyedAtAnyMoment)
{
    std::weak_ptr<Render::PointCloudRenderable> last;
    for (int i = 0; i < 20; ++i)
    {
        const auto cloud = open(mFolder.path());
        mRenderer->setScene(cloud);
        EXPECT_TRUE(last.expired()) << "the one before stayed, with its loader";
        last = cloud;
        cloud->startAsyncReload(nullptr, kAllLevels);
        std::this_thread::sleep_for(std::chrono::microseconds(200 * i));
        EXPECT_TRUE(cloud->isAsyncReloadHealthy(true));
        if (i % 2 == 0)
        {
            cloud->stopAsyncReload();
            EXPECT_FALSE(cloud->isAsyncReloadActive());
            const std::uint64_t resident = cloud->numResidentPoints();
            mRenderer->render();
            EXPECT_EQ(cloud->numResidentPoints(), resident) << "it still loads";
        }
    }
    mRenderer->setScene(Render::GroupRenderable::create("empty"));
    EXPECT_TRUE(last.expired());
}

TEST_F(PointCloudStreamingTest, ChangesRestartTheLoadingAsTheyShould)
{
    mCloud->startAsyncReload([this] { ++mProgress; }, kAllLevels);
    const auto look = [this](float x) {
        mRenderer->setCameraPose({x, -14, 17}, Math::Point<float, 3>(8, 6, 2), Eigen::Vector3f::UnitZ());
    };

    EXPECT_TRUE(restarts([&] { look(20.0f); }));
    EXPECT_FALSE(restarts([&] { look(20.0f); })) << "the same pose";
    mCloud->setRestartLoadingAfterCameraChange(false);
    EXPECT_FALSE(restarts([&] { look(21.0f); }));
    EXPECT_TRUE(restarts([&] { mRenderer->setPerspective(40.0f, 5.0f, 80.0f, 0.0f, 0.0f); }));
    EXPECT_FALSE(restarts([&] { mRenderer->setViewport(kWidth, kHeight + 1); }));
    EXPECT_TRUE(restarts([&] { mRenderer->setRenderMode(Render::RenderMode::ColorizeByNormal); }));
    EXPECT_TRUE(restarts([&] { mCloud->setMatrix(Eigen::Affine3f(Eigen::Translation3f(1, 0, 0)).matrix()); })
    );
    EXPECT_TRUE(restarts([&] { mCloud->setMinLevelToKeep(1); }));
    EXPECT_FALSE(restarts([&] { mCloud->setMinLevelToKeep(1); }));
    EXPECT_TRUE(restarts([&] { mCloud->setMaxLevelToKeep(2); }));
    EXPECT_FALSE(restarts([&] { mCloud->setMaxLevelToKeep(2); }));
    EXPECT_TRUE(restarts([&] { mCloud->setOctreeNodePriorityThreshold(15.0f); })) << "also the same value";
    EXPECT_TRUE(restarts([&] { mCloud->clearVisibleOctreeNodes(); }));
    EXPECT_TRUE(restarts([&] { mCloud->setUnitScale(1.5); }));
    EXPECT_TRUE(restarts([&] { mCloud->setClippingVolume({Math::HalfSpace<float, 3>(1, 0, 0, 0)}); }));
    EXPECT_FALSE(restarts([&] { mCloud->setPointSize(0.3f); }));
    EXPECT_TRUE(complete(*mCloud));
}

TEST_F(PointCloudStreamingTest, WithoutAClearNothingOfTheOldThresholdStays)
{
    load(*mCloud);
    mRenderer->render();
    const auto before = mCloud->numVisiblePoints();

    mCloud->setOctreeNodePriorityThreshold(15.0f);
    mRenderer->render();
    EXPECT_EQ(mCloud->numVisiblePoints(), 0u);

    mCloud->setOctreeNodePriorityThreshold(60.0f);
    load(*mCloud);
    mRenderer->render();
    EXPECT_GT(mCloud->numVisiblePoints(), 0u);
    EXPECT_LT(mCloud->numVisiblePoints(), before);
}

TEST_F(PointCloudStreamingTest, LevelsAreKeptAndLeftOutAsAsked)
{
    const auto deepest = [this](std::size_t minLevel, std::size_t maxLevel, std::size_t passLevel)
    {
        mCloud->setMinLevelToKeep(minLevel);
        mCloud->setMaxLevelToKeep(maxLevel);
        mCloud->clearVisibleOctreeNodes();
        mCloud->reloadPoints(nullptr, passLevel, {});
        mRenderer->render();
        return mCloud->numVisiblePoints();
    };

    const auto all = deepest(0, 23, kAllLevels);
    const auto two = deepest(0, 1, kAllLevels);
    EXPECT_LT(two, all);
    EXPECT_EQ(deepest(0, 23, 1), two) << "the pass's own limit does the same";
    EXPECT_LT(deepest(0, 0, kAllLevels), two);
    mCloud->setOctreeNodePriorityThreshold(100000.0f);
    EXPECT_EQ(deepest(2, 23, kAllLevels), deepest(2, 1, kAllLevels)) << "levels 0 and 1, whatever their size";
    EXPECT_EQ(deepest(2, 23, kAllLevels), two);
}

TEST_F(PointCloudStreamingTest, FollowsAMovingCameraAndEndsWithTheSamePicture)
{
    mCloud->setUpdateInterval(Render::UpdateInterval(10'000));  // 1 ms
    mCloud->startAsyncReload(nullptr, kAllLevels);
    for (int frame = 0; frame <= 30; ++frame)
    {
        const float angle = 0.1f * static_cast<float>(frame);
        mRenderer->setCameraPose(
            {8 + 14 * std::cos(angle), 6 + 14 * std::sin(angle), 12},
            Math::Point<float, 3>(8, 6, 2),
            Eigen::Vector3f::UnitZ()
        );
        mRenderer->render();
        ASSERT_LE(mCloud->numVisiblePoints(), kEverything);
    }
    ASSERT_TRUE(complete(*mCloud));
    const Graphics::ColorImage streamed = picture(*mRenderer);

    mCloud->stopAsyncReload();
    mCloud->clearVisibleOctreeNodes();
    load(*mCloud);

    EXPECT_EQ(compareImages(streamed, picture(*mRenderer)).maximum, 0u);
}

TEST_F(PointCloudStreamingTest, TheCacheBringsBackWhatWasSeenBefore)
{
    const auto cache = PointCloudRenderable::createOrGetSharedCache(locationOf(mFolder.path()), 1.0, 1, 1);
    load(*mCloud);
    const auto nodesOnce = cache->size();
    EXPECT_GT(nodesOnce, 5u);

    const auto second = open(mFolder.path());
    const auto renderer = makeRenderer();
    renderer->setScene(second);
    lookAtMeadow(*renderer);
    load(*second);

    EXPECT_EQ(cache->size(), nodesOnce);
}

TEST_F(PointCloudStreamingTest, TwoCloudsShareOneBudget)
{
    constexpr std::size_t kSmall = 1500;
    constexpr std::size_t kLarge = 4000;
    const auto group = Render::GroupRenderable::create("scene");
    const auto first = open(mFolder.path(), kLarge);
    const auto second = open(mFolder.path(), kSmall);
    second->setMatrix(Eigen::Affine3f(Eigen::Translation3f(1, 1, 0)).matrix());
    group->add(first);
    group->add(second);
    mRenderer->setScene(group);
    lookAtMeadow(*mRenderer);

    first->startAsyncReload(nullptr, kAllLevels);
    second->startAsyncReload(nullptr, kAllLevels);
    ASSERT_TRUE(complete(*first));
    ASSERT_TRUE(complete(*second));
    first->stopAsyncReload();
    second->stopAsyncReload();
    mRenderer->render();

    // What one has published may still be drawn when the other has taken its place.
    EXPECT_LE(first->numVisiblePoints(), kSmall);
    EXPECT_LE(second->numVisiblePoints(), kSmall);
    EXPECT_GT(first->numVisiblePoints(), 0u);
    EXPECT_GT(second->numVisiblePoints(), 0u);
    EXPECT_LE(first->numResidentPoints(), kSmall);
    EXPECT_EQ(first->numResidentPoints(), second->numResidentPoints());
}

TEST_F(PointCloudStreamingTest, CloudsOfDifferentRenderersHaveBudgetsOfTheirOwn)
{
    const auto other = open(mFolder.path(), 500);
    const auto otherRenderer = makeRenderer();
    otherRenderer->setScene(other);
    lookAtMeadow(*otherRenderer);

    load(*mCloud);
    load(*other);
    mRenderer->render();
    otherRenderer->render();

    EXPECT_LE(other->numVisiblePoints(), 500u);
    EXPECT_GT(mCloud->numVisiblePoints(), 500u);
}

// Broken nodes.

namespace
{
/// A cloud of a root and two children, the second of which can be broken and repaired.
class BrokenCloudTest : public TestCloudFixture
{
protected:
    void SetUp() override
    {
        TestCloudFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        const auto points = [](double x)
        {
            return std::vector<Samples::SamplePoint>{
                dot(x, 1, 1, Math::Color(9, 9, 9, 255)), dot(x, 2, 1, Math::Color(9, 9, 9, 255))};
        };
        const Samples::OctreeSummary summary =
            writeNodes(mFolder.path(), {{"r", points(3)}, {"r0", points(4)}, {"r4", points(12)}});
        mBrokenOffset = summary.nodes.at(2).byteOffset;
        mHealthy = TemporaryFolder::read(mFolder.path() / "octree.bin");
    }

    void breakNode() const
    {
        std::string bytes = mHealthy;
        bytes.at(mBrokenOffset) = '\x11';
        overwrite(bytes);
    }

    void repairNode() const { overwrite(mHealthy); }

    /// In place, since the cloud has the file open.
    void overwrite(const std::string& bytes) const
    {
        std::fstream file(mFolder.path() / "octree.bin", std::ios::in | std::ios::out | std::ios::binary);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        file.close();
        ASSERT_TRUE(file.good());
    }

    TemporaryFolder mFolder;
    std::string mHealthy;
    std::uint64_t mBrokenOffset = 0;
};
}  // namespace

TEST_F(BrokenCloudTest, LoadingSaysWhichFileIsBrokenAndShowsTheRest)
{
    breakNode();
    const auto cloud = open(mFolder.path());
    const auto renderer = makeRenderer();
    renderer->setScene(cloud);
    lookDown(*renderer);

    std::string texts;
    try
    {
        load(*cloud);
    }
    catch (const std::runtime_error& error)
    {
        texts = textsOf(error);
    }

    EXPECT_TRUE(texts.starts_with("Error loading point data | ")) << texts;
    EXPECT_THAT(texts, HasSubstr("octree.bin"));
    renderer->render();
    EXPECT_GE(cloud->numVisiblePoints(), 2u);
    EXPECT_LE(cloud->numVisiblePoints(), 4u);
}

TEST_F(BrokenCloudTest, TheBackgroundReportsTheFailureAndRecoversOnceTheFileIsRepaired)
{
    breakNode();
    const auto cloud = open(mFolder.path());
    const auto renderer = makeRenderer();
    renderer->setScene(cloud);
    lookDown(*renderer);

    cloud->startAsyncReload(nullptr, kAllLevels);
    ASSERT_TRUE(eventually([&] { return !cloud->isAsyncReloadHealthy(false); }));
    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { cloud->isAsyncReloadHealthy(true); }), "Error loading point data"
    );
    EXPECT_FALSE(cloud->isAsyncReloadComplete());
    EXPECT_TRUE(cloud->needsRedraw());
    renderer->render();
    EXPECT_GE(cloud->numVisiblePoints(), 2u);

    repairNode();
    ASSERT_TRUE(eventually([&] { return cloud->isAsyncReloadComplete(); }));
    EXPECT_TRUE(cloud->isAsyncReloadHealthy(true));
    renderer->render();
    EXPECT_EQ(cloud->numVisiblePoints(), 6u);
}

TEST_F(BrokenCloudTest, StoppingDoesNotWaitForTheNextTry)
{
    breakNode();
    const auto cloud = open(mFolder.path());
    const auto renderer = makeRenderer();
    renderer->setScene(cloud);
    lookDown(*renderer);
    cloud->setReloadRetryDelay(kNever);
    constexpr int kTries = 10;
    for (int i = 0; i < kTries; ++i)
    {
        cloud->startAsyncReload(nullptr, kAllLevels);
        ASSERT_TRUE(eventually([&] { return !cloud->isAsyncReloadHealthy(false); }));

        cloud->stopAsyncReload();

        EXPECT_TRUE(cloud->isAsyncReloadHealthy(true)) << "nothing is loading, so nothing fails";
    }
}

TEST_F(BrokenCloudTest, ABrokenCloudDoesNotHarmAnother)
{
    const TemporaryFolder healthyFolder;
    writeMeadow(healthyFolder.path());
    breakNode();
    const auto broken = open(mFolder.path());
    const auto healthy = open(healthyFolder.path());
    const auto group = Render::GroupRenderable::create("scene");
    group->add(broken);
    group->add(healthy);
    const auto renderer = makeRenderer();
    renderer->setScene(group);
    lookDown(*renderer);

    broken->startAsyncReload(nullptr, kAllLevels);
    healthy->startAsyncReload(nullptr, kAllLevels);
    ASSERT_TRUE(eventually([&] { return !broken->isAsyncReloadHealthy(false); }));
    ASSERT_TRUE(eventually([&] { return healthy->isAsyncReloadComplete(); }));

    EXPECT_TRUE(healthy->isAsyncReloadHealthy(true));
    renderer->render();
    EXPECT_GT(healthy->numVisiblePoints(), 1000u);
}
