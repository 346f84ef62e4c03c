#include "octree/Octree.h"
#include "render/pointcloud/NodePrioritizer.h"
#include "render/pointcloud/PointCloudRenderable.h"
#include "render/pointcloud/filters/BoxFilter.h"
#include "render/pointcloud/sharedNodePrioritizer.h"
#include "tests/render/pointcloud/TestCloud.h"
#include "tests/support/ThreadSignals.h"
#include "tests/support/printColor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace
{
using Render::PointCloudQuery;
using Render::PointCloudRenderable;
using Samples::Attribute;

const Math::Color kWhite(255, 255, 255, 255);
const Math::Color kRed(200, 0, 0, 255);
const Math::Color kBlue(0, 0, 200, 255);

/// Two dots at x = 2 and 14, y = 6, z = 1 without colours, hence white, and a data set over the same octree
/// that has them red and blue.
class PointCloudSharingTest : public TestCloudFixture
{
protected:
    void SetUp() override
    {
        TestCloudFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        const std::vector<Samples::SampleNode> nodes{{"r", {dot(2, 6, 1, kRed), dot(14, 6, 1, kBlue)}}};
        writeNodes(mFolder.path(), nodes, {Attribute::Position});
        writeNodes(mColorFolder.path(), nodes, {Attribute::Rgb});
    }

    std::shared_ptr<PointCloudRenderable> openColored() const
    {
        auto cloud = open(mFolder.path());
        cloud->addExternalAttributeLocation(locationOf(mColorFolder.path()));
        return cloud;
    }

    static std::unique_ptr<Render::Renderer> shown(const std::shared_ptr<PointCloudRenderable>& cloud)
    {
        cloud->setMaxPointSize(8.0F);
        auto renderer = makeRenderer();
        renderer->setBackgroundColor(Math::Color(0, 0, 0, 255));
        renderer->setScene(cloud);
        lookDown(*renderer);
        return renderer;
    }

    /// Loads the cloud and tells the colours of the two dots in the picture.
    static std::vector<Math::Color> drawnColors(const std::shared_ptr<PointCloudRenderable>& cloud)
    {
        const auto renderer = shown(cloud);
        load(*cloud);
        const Graphics::ColorImage image = picture(*renderer);
        return {image.pixel(16, 47), image.pixel(112, 47)};
    }

    static std::vector<Render::VertexPosColor> queried(PointCloudRenderable& cloud)
    {
        PointCloudQuery query = cloud.createPointCloudQuery(
            new Render::BoxFilter(Math::NBoundingBox<float, 3>({-100, -100, -100}, {100, 100, 100})),
            kAllLevels,
            0.0F,
            std::chrono::nanoseconds::max()
        );
        std::vector<Render::VertexPosColor> points(10);
        points.resize(query.getNextPointChunk(points.data(), points.size()));
        return points;
    }

    static std::vector<Math::Color> queriedColors(PointCloudRenderable& cloud)
    {
        std::vector<Math::Color> colors;
        for (const Render::VertexPosColor& point : queried(cloud))
        {
            colors.push_back(point.color);
        }
        return colors;
    }

    static inline const std::vector<Math::Color> kColored{kRed, kBlue};
    static inline const std::vector<Math::Color> kPlain{kWhite, kWhite};

    TemporaryFolder mFolder;
    TemporaryFolder mColorFolder;
};
}  // namespace

TEST_F(PointCloudSharingTest, ExternalAttributesStayOutOfCloudsWithoutThemThatLoadLater)
{
    const auto colored = openColored();
    const auto plain = open(mFolder.path());

    EXPECT_EQ(drawnColors(colored), kColored);
    EXPECT_EQ(drawnColors(plain), kPlain);
    EXPECT_EQ(queriedColors(*colored), kColored);
    EXPECT_EQ(queriedColors(*plain), kPlain);
}

TEST_F(PointCloudSharingTest, ExternalAttributesReachTheirCloudThoughAnotherHasLoadedWithoutThem)
{
    const auto plain = open(mFolder.path());
    const auto colored = openColored();

    EXPECT_EQ(drawnColors(plain), kPlain);
    EXPECT_EQ(drawnColors(colored), kColored);
    EXPECT_EQ(queriedColors(*plain), kPlain);
    EXPECT_EQ(queriedColors(*colored), kColored);
}

TEST_F(PointCloudSharingTest, CloudsWithTheSameExternalAttributesShareTheirCaches)
{
    const auto first = openColored();
    EXPECT_EQ(drawnColors(first), kColored);
    EXPECT_EQ(queriedColors(*first), kColored);
    const auto second = openColored();
    std::filesystem::resize_file(mFolder.path() / "octree.bin", 0);

    EXPECT_EQ(drawnColors(second), kColored);
    EXPECT_EQ(queriedColors(*second), kColored);
}

TEST_F(PointCloudSharingTest, AnExternalDataSetTakesEffectOnACloudThatIsLoaded)
{
    const auto cloud = open(mFolder.path());
    const auto renderer = shown(cloud);
    load(*cloud);
    EXPECT_EQ(picture(*renderer).pixel(16, 47), kWhite);
    EXPECT_EQ(queriedColors(*cloud), kPlain);

    cloud->addExternalAttributeLocation(locationOf(mColorFolder.path()));

    EXPECT_TRUE(cloud->needsRedraw());
    EXPECT_EQ(countOf(picture(*renderer), kWhite), 0U) << "what was loaded is gone";
    load(*cloud);
    EXPECT_EQ(picture(*renderer).pixel(16, 47), kRed);
    EXPECT_EQ(queriedColors(*cloud), kColored);
}

TEST_F(PointCloudSharingTest, AnExternalDataSetIsLoadedInTheBackground)
{
    const auto cloud = open(mFolder.path());
    const auto renderer = shown(cloud);
    cloud->startAsyncReload(nullptr, kAllLevels);
    ASSERT_TRUE(eventually([&] { return cloud->isAsyncReloadComplete(); }));
    ASSERT_EQ(picture(*renderer).pixel(16, 47), kWhite);

    cloud->addExternalAttributeLocation(locationOf(mColorFolder.path()));

    EXPECT_TRUE(eventually([&] { return cloud->isAsyncReloadComplete(); }));
    EXPECT_EQ(picture(*renderer).pixel(16, 47), kRed);
}

TEST_F(PointCloudSharingTest, AnExternalDataSetThatCannotBeOpenedLeavesTheCloudAsItIs)
{
    const auto cloud = open(mFolder.path());
    const auto renderer = shown(cloud);
    load(*cloud);

    EXPECT_THROW(cloud->addExternalAttributeLocation(locationOf("no such folder")), std::runtime_error);

    EXPECT_EQ(picture(*renderer).pixel(16, 47), kWhite);
}

TEST_F(PointCloudSharingTest, CloudsOfOneOctreeDoNotMixUnitScales)
{
    const Octree::Location location = locationOf(mFolder.path());
    const auto octree = std::make_shared<Octree::Octree>(location, 1.0);
    const auto first = PointCloudRenderable::create(octree, "first", kEverything);
    const auto second = PointCloudRenderable::create(octree, "second", kEverything);
    const auto renderer = shown(second);
    const auto cacheOfOldScale = PointCloudRenderable::createOrGetSharedCache(location, 1.0, 1, 1);
    const auto queryCacheOfOldScale = PointCloudQuery::createOrGetSharedCache(location, 1.0, 1, 1);

    first->setUnitScale(0.5);

    load(*second);
    EXPECT_EQ(cacheOfOldScale->size(), 0U);
    const auto points = queried(*second);
    ASSERT_EQ(points.size(), 2U);
    EXPECT_EQ(points[1].position, (Math::Point<float, 3>(7.0F, 3.0F, 0.5F)));
    EXPECT_EQ(queryCacheOfOldScale->size(), 0U);

    second->setUnitScale(0.5);  // tells it, too
    EXPECT_EQ(second->pointSize(), second->defaultPointSize());
    load(*second);
    const Graphics::ColorImage image = picture(*renderer);
    EXPECT_EQ(image.pixel(56, 71), kWhite);  // at (7, 3)
    EXPECT_EQ(image.pixel(112, 47), Math::Color(0, 0, 0, 255));
}

TEST_F(PointCloudSharingTest, AFrameIsDrawnWhileTheSharedPrioritizerIsBusy)
{
    const auto cloud = openColored();
    const auto renderer = shown(cloud);
    load(*cloud);
    const auto prioritizer = Render::sharedNodePrioritizer(renderer->id(), kEverything);
    Semaphore isRanking;
    std::atomic<bool> isDrawn = false;
    std::atomic<bool> wasDrawnMeanwhile = false;
    const Render::NodeRanking ranking = [&](std::size_t, const Math::NBoundingBox<float, 3>&)
    {
        isRanking.release();
        wasDrawnMeanwhile = eventually([&] { return isDrawn.load(); });
        return Render::NodePriority::keep();
    };
    std::jthread other([&] { prioritizer->rerank(cloud->id(), ranking, {}); });
    isRanking.acquire();  // so the lock is held

    const Graphics::ColorImage image = picture(*renderer);  // uploads what was loaded, and draws it
    isDrawn = true;
    other.join();

    EXPECT_TRUE(wasDrawnMeanwhile);
    EXPECT_EQ(image.pixel(16, 47), kRed);
    EXPECT_EQ(image.pixel(112, 47), kBlue);
}
