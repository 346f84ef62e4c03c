#include "render/pointcloud/CloudStatus.h"
#include "render/pointcloud/PointCloudRenderable.h"
#include "render/scene/GroupRenderable.h"
#include "tests/render/pointcloud/TestCloud.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace
{
using Render::CloudStatus;
using Render::PointCloudRenderable;

/// A root and two children of it: 1, 2 and 3 points.
class CloudStatusTest : public TestCloudFixture
{
protected:
    void SetUp() override
    {
        TestCloudFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        const Math::Color red(255, 0, 0, 255);
        writeNodes(
            mFolder.path(),
            {{"r", {dot(8, 8, 8, red)}},
             {"r0", {dot(1, 1, 1, red), dot(2, 2, 2, red)}},
             {"r7", {dot(15, 15, 15, red), dot(14, 14, 14, red), dot(13, 13, 13, red)}}}
        );
        mRenderer = makeRenderer();
        lookDown(*mRenderer);
    }

    TemporaryFolder mFolder;
    std::unique_ptr<Render::Renderer> mRenderer;
};
}  // namespace

TEST_F(CloudStatusTest, BeforeInitNothingIsThereButTheBudget)
{
    const CloudStatus status = open(mFolder.path(), 77)->status();

    EXPECT_EQ(status.residentNodes, 0U);
    EXPECT_EQ(status.budgetPoints, 77U);
    EXPECT_EQ(status.usedBudgetPoints, 0U);
    EXPECT_EQ(status.readNodes, 0U);
    EXPECT_EQ(status.cacheCapacity, 30'000'000U);
    EXPECT_FALSE(status.isComplete);
}

TEST_F(CloudStatusTest, TellsWhatIsResidentReadAndDrawn)
{
    const auto cloud = open(mFolder.path());
    mRenderer->setScene(cloud);
    cloud->reloadPoints(nullptr);
    const CloudStatus loaded = cloud->status();
    mRenderer->render();
    const CloudStatus drawn = cloud->status();

    EXPECT_EQ(loaded.residentNodes, 3U);
    EXPECT_EQ(loaded.residentPoints, 6U);
    EXPECT_EQ(loaded.usedBudgetPoints, 6U);
    EXPECT_EQ(loaded.pendingNodes, 0U);
    EXPECT_EQ(loaded.readNodes, 3U);
    EXPECT_EQ(loaded.cachedPoints, 6U);
    EXPECT_EQ(loaded.drawnPoints, 0U);
    EXPECT_EQ(drawn.drawnNodes, 3U);
    EXPECT_EQ(drawn.drawnPoints, 6U);
}

TEST_F(CloudStatusTest, CloudsOfOneBudgetHaveTheirShares)
{
    TemporaryFolder otherFolder;
    writeNodes(otherFolder.path(), {{"r", {dot(1, 1, 1, Math::Color(0, 0, 255, 255))}}});
    const auto cloud = open(mFolder.path(), 100);
    const auto other = open(otherFolder.path(), 50);
    const auto scene = Render::GroupRenderable::create("scene");
    scene->add(cloud);
    scene->add(other);
    mRenderer->setScene(scene);
    cloud->reloadPoints(nullptr);
    other->reloadPoints(nullptr);

    EXPECT_EQ(cloud->status().residentPoints, 6U);
    EXPECT_EQ(other->status().residentPoints, 1U);
    EXPECT_EQ(other->status().usedBudgetPoints, 7U);
    EXPECT_EQ(cloud->status().budgetPoints, 50U);
}

TEST_F(CloudStatusTest, NodesThatCannotBeReadAreCounted)
{
    std::filesystem::resize_file(mFolder.path() / "octree.bin", 0);
    const auto cloud = open(mFolder.path());
    mRenderer->setScene(cloud);

    EXPECT_THROW(cloud->reloadPoints(nullptr), std::runtime_error);

    EXPECT_EQ(cloud->status().readNodes, 0U);
    EXPECT_GE(cloud->status().failedNodes, 1U);
}

TEST_F(CloudStatusTest, InTheMiddleOfAPassSomethingIsPending)
{
    const auto cloud = open(mFolder.path());
    mRenderer->setScene(cloud);
    cloud->setUpdateInterval(Render::UpdateInterval(1));
    std::size_t mostPending = 0;

    cloud->reloadPoints([&] { mostPending = std::max(mostPending, cloud->status().pendingNodes); });

    EXPECT_GE(mostPending, 1U);
    EXPECT_EQ(cloud->status().pendingNodes, 0U);
}
