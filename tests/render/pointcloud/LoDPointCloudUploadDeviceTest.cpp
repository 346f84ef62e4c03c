#include "render/pointcloud/LoDPointCloud.h"
#include "render/pointcloud/NodePrioritizer.h"
#include "render/pointcloud/sharedNodePrioritizer.h"
#include "tests/render/pointcloud/PointPass.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/messageOf.h"
#include "tests/support/printColor.h"

#include <Eigen/Geometry>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace
{
using Render::LoDPointCloud;
using Render::NodeRecord;
using testing::HasSubstr;

const Math::Color kNothing;
const Math::Color kRed(200, 0, 0, 255);
const Math::Color kGreen(0, 200, 0, 255);
const Math::Color kBlue(0, 0, 200, 255);

using LoDPointCloudUploadDeviceTest = PointPassFixture;

std::size_t countOfCalls(const std::vector<std::string>& calls, const std::string& function)
{
    return static_cast<std::size_t>(std::count_if(
        calls.begin(),
        calls.end(),
        [&function](const std::string& call) { return call.starts_with(function); }
    ));
}
}  // namespace

// Uploading and binding.

TEST_F(LoDPointCloudUploadDeviceTest, UploadsOnlyWhatIsNew)
{
    CheckedContext watched(context());
    const auto cloud = cloudInClipSpace(4.0f, 1000, &watched);
    NodeRecord first = record(0, 0, {-1, -1, -1});
    first.pointCount = 2;
    NodeRecord second = record(1, 1, {0, 0, 0});
    second.firstPoint = 2;
    second.pointCount = 1;
    publish(
        *cloud,
        {first, second},
        {0b10000000, 0, 1, 0, 0, 0, 0, 0},
        {pointAt(0, 0, 0.5f, kRed), pointAt(0.5f, 0, 0.5f, kRed), pointAt(0.5f, 0.5f, 0.5f, kGreen)}
    );
    const auto drawnNow = [&]
    {
        watched.forgetCalls();
        return picture(*cloud);
    };

    const PassPicture fresh = drawnNow();
    EXPECT_EQ(countOfCalls(watched.calls(), "Map"), 6u)
        << "octree texture, vertices, boxes, constants of the frame and of two nodes";
    EXPECT_EQ(countOfCalls(watched.calls(), "DrawInstanced"), 2u);
    EXPECT_THAT(watched.calls(), testing::Contains("DrawInstanced 4 2 0 0"));
    EXPECT_THAT(watched.calls(), testing::Contains("DrawInstanced 4 1 0 2"));

    const PassPicture again = drawnNow();
    EXPECT_EQ(countOfCalls(watched.calls(), "Map"), 2u) << "the constants of two nodes";
    EXPECT_EQ(again.color.texels, fresh.color.texels);

    cloud->setPointSize(0.5f);
    drawnNow();
    EXPECT_EQ(countOfCalls(watched.calls(), "Map"), 3u) << "besides the constants of the frame";

    publish(*cloud, {first}, {0, 0, 0, 0}, {pointAt(0, 0, 0.5f, kRed), pointAt(0.5f, 0, 0.5f, kRed)});
    EXPECT_EQ(countOf(drawnNow().color, kGreen), 0u);
    EXPECT_EQ(countOfCalls(watched.calls(), "Map"), 4u);
    EXPECT_EQ(cloud->numVisiblePoints(), 2u);
    EXPECT_EQ(cloud->numVisibleOctreeNodes(), 1u);
}

TEST_F(LoDPointCloudUploadDeviceTest, LeavesNothingBoundButTheVertexBuffer)
{
    const auto cloud = cloudInClipSpace(4.0f);
    publish(*cloud, {pointAt(0, 0, 0.5f, kRed)});
    cloud->setShowBoundingBoxes(true);

    cloud->render();

    for (const std::string& bound : boundObjects(context()))
    {
        EXPECT_THAT(bound, HasSubstr("vertex buffer"));
    }
}

TEST_F(LoDPointCloudUploadDeviceTest, MorePointsThanThereIsRoomForAreNotDrawn)
{
    const auto cloud = cloudInClipSpace(4.0f, 3);
    NodeRecord first = record(0, 0, {-1, -1, -1});
    first.pointCount = 2;
    NodeRecord second = record(1, 1, {0, 0, 0});
    second.firstPoint = 2;
    second.pointCount = 2;

    publish(
        *cloud,
        {first, second},
        {0b10000000, 0, 1, 0, 0, 0, 0, 0},
        {
            pointAt(-0.5f, -0.5f, 0.5f, kRed),
            pointAt(-0.5f, -0.5f, 0.5f, kRed),
            pointAt(0.5f, 0.5f, 0.5f, kGreen),
            pointAt(0.7f, 0.5f, 0.5f, kGreen),
        }
    );

    const PassPicture result = picture(*cloud);
    EXPECT_GT(countOf(result.color, kRed), 0u);
    EXPECT_EQ(countOf(result.color, kGreen), 0u);
}

TEST_F(LoDPointCloudUploadDeviceTest, AsManyNodesAsTheOctreeTextureHasTexelsAreDrawn)
{
    std::vector<NodeRecord> nodes(4096);
    std::vector<Render::VertexContainer::Vertex> points;
    for (std::uint64_t i = 0; i < nodes.size(); ++i)
    {
        nodes[i].index = i;
        nodes[i].firstPoint = i;
        nodes[i].pointCount = 1;
        const auto x = static_cast<float>(i % kSize);
        const auto y = static_cast<float>(i / kSize);
        points.push_back(pointAt(clipX(x + 0.5f), clipY(y + 0.5f), 0.5f, kRed));
    }
    const auto cloud = cloudInClipSpace(1.0f, 5000);

    publish(*cloud, nodes, std::vector<std::uint8_t>(4096 * 4, 0), points);

    EXPECT_EQ(countOf(picture(*cloud).color, kRed), 4096u);
    EXPECT_EQ(cloud->numVisibleOctreeNodes(), 4096u);
}

TEST_F(LoDPointCloudUploadDeviceTest, NodeBoxesAreDrawnWhenTheyAreShown)
{
    const auto cloud = cloudInClipSpace(4.0f);
    publish(*cloud, {});
    cloud->buffers().back().boundingBoxes = {
        {{clipX(10.5f), clipY(50.5f), 0.25f}, {clipX(40.5f), clipY(20.5f), 0.75f}, kBlue}};
    cloud->buffers().publish();

    EXPECT_EQ(countOf(picture(*cloud).color, kBlue), 0u);

    cloud->setShowBoundingBoxes(true);
    const PassPicture result = picture(*cloud);
    EXPECT_EQ(result.color.at(20, 50), kBlue);
    EXPECT_EQ(result.color.at(40, 30), kBlue);
    EXPECT_EQ(result.color.at(25, 35), kNothing);
}

TEST_F(LoDPointCloudUploadDeviceTest, BoxesMoveWithTheCamera)
{
    const auto cloud = cloudInClipSpace(4.0f);
    publish(*cloud, {});
    cloud->buffers().back().boundingBoxes = {
        {{clipX(10.5f), clipY(50.5f), 0.25f}, {clipX(40.5f), clipY(20.5f), 0.75f}, kBlue}};
    cloud->buffers().publish();
    cloud->setShowBoundingBoxes(true);

    cloud->setViewMatrix(Eigen::Affine3f(Eigen::Translation3f(8.0f / 32.0f, 0, 0)).matrix());

    const PassPicture result = picture(*cloud);
    EXPECT_EQ(result.color.at(18, 30), kBlue);
    EXPECT_EQ(result.color.at(10, 30), kNothing);
}

// Construction.

TEST_F(LoDPointCloudUploadDeviceTest, LowersTheSharedBudgetToItsOwn)
{
    constexpr std::uint64_t kKey = 77;
    const auto prioritizer = Render::sharedNodePrioritizer(kKey, 500);

    const LoDPointCloud smaller(kKey, device(), context(), 1, 300);
    EXPECT_EQ(&smaller.prioritizer(), prioritizer.get());
    EXPECT_EQ(prioritizer->totalMaxPointCount(), 300u);

    const LoDPointCloud larger(kKey, device(), context(), 2, 400);
    EXPECT_EQ(prioritizer->totalMaxPointCount(), 300u);
}

TEST_F(LoDPointCloudUploadDeviceTest, GivesItsShareOfTheBudgetBackAtItsEnd)
{
    constexpr std::uint64_t kKey = 79;
    const auto prioritizer = Render::sharedNodePrioritizer(kKey, 100);
    const Render::VertexSource threePoints =
        [](const Octree::OctreeNodeId&, Render::VertexContainer& vertices, std::stop_token)
    {
        vertices.resize(3);
        return true;
    };
    bool resident = false;
    const auto admit = [&](std::uint64_t cloudId) {
        prioritizer->addNode({cloudId, {}}, {}, Render::NodePriority::keep(), threePoints, resident, {});
    };
    auto leaving = std::make_unique<LoDPointCloud>(kKey, device(), context(), 1, 100);
    const LoDPointCloud staying(kKey, device(), context(), 2, 100);
    admit(1);
    admit(2);
    ASSERT_EQ(prioritizer->totalUsedPointCount(), 6u);

    leaving.reset();

    EXPECT_EQ(prioritizer->totalUsedPointCount(), 3u);
}

TEST_F(LoDPointCloudUploadDeviceTest, RefusesABudgetThatDirect3DCannotAddress)
{
    const auto create = [this](std::size_t budget)
    { const LoDPointCloud cloud(78, device(), context(), 1, budget); };

    // 2^32 / 20 = 214748364.8
    EXPECT_THAT(
        messageOf<std::invalid_argument>([&] { create(214'748'365); }),
        HasSubstr("214748365 elements of 20 bytes is larger than the 4294967295 bytes")
    );
    EXPECT_THAT(
        messageOf<std::invalid_argument>([&] { create(std::numeric_limits<std::size_t>::max()); }),
        HasSubstr("is larger than")
    );
}

TEST_F(LoDPointCloudUploadDeviceTest, ABudgetOfNothingDrawsNothing)
{
    const auto cloud = cloudInClipSpace(4.0f, 0);
    publish(*cloud, {});

    EXPECT_EQ(countOf(picture(*cloud).color, kNothing), kSize * kSize);
}
