#include "math/NBoundingBox.h"
#include "render/pointcloud/PointCloudRenderable.h"
#include "render/pointcloud/filters/BoxFilter.h"
#include "tests/render/pointcloud/TestCloud.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace
{
using Render::PointCloudQuery;
using Render::PointCloudRenderable;
using Position = Math::Point<float, 3>;

constexpr std::size_t kRoom = 10'000;  // more than the meadow has points

/// Queries of a cloud that a renderer draws.
class PointCloudRenderableQueryTest : public TestCloudFixture
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

    PointCloudQuery queryOf(const Position& min, const Position& max)
    {
        return mCloud->createPointCloudQuery(
            new Render::BoxFilter(Math::NBoundingBox<float, 3>(min, max)),
            kAllLevels,
            0.0F,
            std::chrono::nanoseconds::max()
        );
    }

    static std::vector<Render::VertexPosColor> all(PointCloudQuery query)
    {
        std::vector<Render::VertexPosColor> points(kRoom);
        std::size_t count = 0;
        while (!query.isFinished())
        {
            count += query.getNextPointChunk(points.data() + count, points.size() - count);
        }
        points.resize(count);
        return points;
    }

    TemporaryFolder mFolder;
    std::shared_ptr<PointCloudRenderable> mCloud;
    std::unique_ptr<Render::Renderer> mRenderer;
};

std::size_t countWithin(double minX, double maxX)
{
    const std::vector<Samples::SamplePoint> points = meadow();
    return static_cast<std::size_t>(std::count_if(
        points.begin(),
        points.end(),
        [=](const Samples::SamplePoint& point) { return point.x >= minX && point.x <= maxX; }
    ));
}
}  // namespace

TEST_F(PointCloudRenderableQueryTest, YieldsThePointsOfTheRegionThoughNoneIsLoaded)
{
    const auto points = all(queryOf({3.05F, -100, -100}, {7.05F, 100, 100}));

    EXPECT_EQ(points.size(), countWithin(3.05, 7.05));
    EXPECT_GT(points.size(), 900U);  // 20 columns of 60
    EXPECT_EQ(mCloud->numVisiblePoints(), 0U);
}

TEST_F(PointCloudRenderableQueryTest, RegionAndPointsAreInTheWorldAlsoOfACloudThatWasMoved)
{
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix(0, 3) = 1000.0F;
    mCloud->setMatrix(matrix);

    const auto points = all(queryOf({1003.05F, -100, -100}, {1007.05F, 100, 100}));

    EXPECT_EQ(points.size(), countWithin(3.05, 7.05));
    for (const Render::VertexPosColor& point : points)
    {
        ASSERT_GE(point.position.x, 1003.05F);
        ASSERT_LE(point.position.x, 1007.05F);
    }
}

TEST_F(PointCloudRenderableQueryTest, RunsOnAnotherThreadWhileTheCloudIsLoadedAndDrawn)
{
    const std::size_t expected = meadow().size();
    std::atomic<int> queries = 0;
    std::atomic<bool> areComplete = true;
    mCloud->setUpdateInterval(Render::UpdateInterval(10'000));  // 1 ms
    mCloud->startAsyncReload(nullptr, kAllLevels);

    std::thread reader(
        [&]
        {
            for (; queries < 20; ++queries)
            {
                const auto points = all(queryOf({-100, -100, -100}, {100, 100, 100}));
                areComplete = areComplete && points.size() == expected;
            }
        }
    );
    while (queries < 20)
    {
        mRenderer->setCameraPose(
            {8.0F + static_cast<float>(queries), -6, 12}, Position(8, 6, 2), Eigen::Vector3f::UnitZ()
        );
        mRenderer->render();
    }
    reader.join();
    const bool isLoaded = eventually([this] { return mCloud->isAsyncReloadComplete(); });

    EXPECT_TRUE(areComplete);
    EXPECT_TRUE(isLoaded);
    EXPECT_TRUE(mCloud->isAsyncReloadHealthy(true));
}

TEST_F(PointCloudRenderableQueryTest, AFunctionMayTellWhichPointsCount)
{
    const auto points = all(mCloud->createPointCloudQuery([](const Position& point)
                                                          { return point.x >= 3.05F && point.x <= 7.05F; }));

    EXPECT_EQ(points.size(), countWithin(3.05, 7.05));
}

TEST_F(PointCloudRenderableQueryTest, AFilterMayBeGivenAway)
{
    auto filter = std::make_unique<Render::BoxFilter>(
        Math::NBoundingBox<float, 3>({3.05F, -100, -100}, {7.05F, 100, 100})
    );

    const auto points = all(mCloud->createPointCloudQuery(std::move(filter)));

    EXPECT_EQ(points.size(), countWithin(3.05, 7.05));
    EXPECT_THROW(mCloud->createPointCloudQuery(std::unique_ptr<Render::IFilter>()), std::invalid_argument);
}
