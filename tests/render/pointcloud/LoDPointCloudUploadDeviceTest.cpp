#include "render/pointcloud/LoDPointCloud.h"
#include "render/pointcloud/NodePrioritizer.h"
#include "render/pointcloud/sharedNodePrioritizer.h"
#include "render/pointcloud/writeOctreeTexture.h"
#include "render/scene/DrawQueue.h"
#include "render/scene/Viewport.h"
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

namespace
{
std::shared_ptr<const Render::VertexBlock> blockOf(
    const std::vector<Render::VertexContainer::Vertex>& vertices
)
{
    Render::VertexContainer container;
    container.resize(vertices.size());
    std::copy(vertices.begin(), vertices.end(), container.data());
    return container.share();
}

struct PublishedNode
{
    NodeRecord record;
    std::shared_ptr<const Render::VertexBlock> block;
};

/// Publishes nodes as the prioritizer does: as blocks that stay the same.
void publishNodes(LoDPointCloud& cloud, std::vector<PublishedNode> nodes)
{
    Render::Buffer& buffer = cloud.buffers().back();
    buffer.nodes.clear();
    buffer.vertices.clear();
    buffer.boundingBoxes.clear();
    for (PublishedNode& node : nodes)
    {
        node.record.index = buffer.nodes.size();
        node.record.firstPoint = buffer.vertices.size();
        node.record.pointCount = node.block->size();
        buffer.nodes.push_back(node.record);
        buffer.vertices.append(node.block);
    }
    Render::writeOctreeTexture(buffer.nodes, buffer.octreeTextureData);
    cloud.buffers().publish();
}

/// A child of the root whose points cover a square of texels.
PublishedNode square(unsigned child, unsigned firstTexel, unsigned size, const Math::Color& color)
{
    std::vector<Render::VertexContainer::Vertex> points;
    for (unsigned y = firstTexel; y < firstTexel + size; ++y)
    {
        for (unsigned x = firstTexel; x < firstTexel + size; ++x)
        {
            points.push_back(pointAt(
                (static_cast<float>(x) + 0.5f) / 32.0f - 1.0f,
                1.0f - (static_cast<float>(y) + 0.5f) / 32.0f,
                0.5f,
                color
            ));
        }
    }
    NodeRecord node = record(0, 1, {});
    node.octreeNodeId = Octree::OctreeNodeId().child(child);
    return {node, blockOf(points)};
}
}  // namespace

TEST_F(LoDPointCloudUploadDeviceTest, UploadsOnlyTheNodesThatAreNew)
{
    CheckedContext watched(context());
    const auto cloud = cloudInClipSpace(1.0f, 1000, &watched);
    const PublishedNode red = square(1, 4, 3, kRed);
    const PublishedNode green = square(2, 20, 4, kGreen);
    const auto copiesOfDrawing = [&]
    {
        watched.forgetCalls();
        picture(*cloud);
        return countOfCalls(watched.calls(), "CopySubresourceRegion");
    };

    publishNodes(*cloud, {red});
    EXPECT_EQ(copiesOfDrawing(), 1u);
    EXPECT_EQ(copiesOfDrawing(), 0u) << "nothing is new";
    publishNodes(*cloud, {red});
    EXPECT_EQ(copiesOfDrawing(), 0u) << "the same nodes again";
    publishNodes(*cloud, {red, green});
    EXPECT_EQ(copiesOfDrawing(), 1u) << "one more";
    publishNodes(*cloud, {green});
    EXPECT_EQ(copiesOfDrawing(), 0u) << "one less";

    const PassPicture result = picture(*cloud);
    EXPECT_EQ(countOf(result.color, kRed), 0u);
    EXPECT_EQ(countOf(result.color, kGreen), 16u);
}

TEST_F(LoDPointCloudUploadDeviceTest, AFrameWithNothingNewMapsNothing)
{
    CheckedContext watched(context());
    for (const Render::SplatRoad road : {Render::SplatRoad::Compute, Render::SplatRoad::Quads})
    {
        const auto cloud = cloudInClipSpace(1.0f, 1000, &watched);
        cloud->setSplatRoad(road);
        publishNodes(*cloud, {square(1, 4, 3, kRed), square(2, 20, 4, kGreen)});
        const PassPicture fresh = picture(*cloud);
        EXPECT_EQ(cloud->drawnRoad(), road);

        watched.forgetCalls();
        const PassPicture again = picture(*cloud);
        EXPECT_EQ(countOfCalls(watched.calls(), "Map"), 0u);
        EXPECT_EQ(again.color.texels, fresh.color.texels);

        cloud->setPointSize(0.5f);
        watched.forgetCalls();
        picture(*cloud);
        EXPECT_EQ(countOfCalls(watched.calls(), "Map"), 1u) << "the constants of the frame";
    }
}

namespace
{
/// Two clouds of one group that cover the whole target; `inFront` is the nearer one.
struct Neighbours : private Core::NonCopyable
{
    Neighbours(ID3D11Device* device, ID3D11DeviceContext* context, unsigned size)
        : inFront(kGroup, device, context, 1, 5000), behind(kGroup, device, context, 2, 5000)
    {
        for (LoDPointCloud* const cloud : {&inFront, &behind})
        {
            cloud->setViewport(Render::Viewport(size, size));
            cloud->setPointSize(1.0f / static_cast<float>(size));
            cloud->setRootNodeSize(2.0f);
        }
    }

    static constexpr std::uint64_t kGroup = 83;
    LoDPointCloud inFront;
    LoDPointCloud behind;
};
}  // namespace

TEST_F(LoDPointCloudUploadDeviceTest, CloudsDrawnOneAfterTheOtherShareTheLastStep)
{
    CheckedContext watched(context());
    Neighbours clouds(device(), &watched, kSize);
    publishNodes(clouds.behind, {square(1, 10, 20, kRed)});
    publishNodes(clouds.inFront, {square(1, 20, 20, kGreen)});
    Eigen::Affine3f nearer = Eigen::Affine3f::Identity();
    nearer.translate(Eigen::Vector3f(0, 0, -0.25f));
    clouds.inFront.setModelMatrix(nearer.matrix());
    const auto queue = Render::DrawQueue::shared(Neighbours::kGroup);
    const auto drawTogether = [&]
    {
        return drawn(
            [&]
            {
                const Render::DrawQueue::Opened opened(*queue);
                clouds.inFront.render();
                clouds.behind.render();
                queue->finish();
            }
        );
    };
    drawTogether();  // what uploads finishes what waits

    watched.forgetCalls();
    const PassPicture result = drawTogether();

    EXPECT_EQ(countOfCalls(watched.calls(), "Draw "), 1u);
    EXPECT_EQ(countOf(result.color, kGreen), 400u);
    EXPECT_EQ(countOf(result.color, kRed), 400u - 100u);
    EXPECT_EQ(result.depth.at(25, 25), 0.25f);
    EXPECT_EQ(result.depth.at(15, 15), 0.5f);
    EXPECT_EQ(result.exactWorldPosition.at(25, 25)[2], 0.25f);
}

TEST_F(LoDPointCloudUploadDeviceTest, WithoutAnOpenQueueACloudIsDrawnAtOnce)
{
    CheckedContext watched(context());
    Neighbours clouds(device(), &watched, kSize);
    publishNodes(clouds.behind, {square(1, 10, 20, kRed)});

    const PassPicture result = drawn([&] { clouds.behind.render(); });

    EXPECT_EQ(countOfCalls(watched.calls(), "Draw "), 1u);
    EXPECT_EQ(countOf(result.color, kRed), 400u);
}

TEST_F(LoDPointCloudUploadDeviceTest, AFailedFrameLeavesNothingForTheNextOne)
{
    Neighbours clouds(device(), context(), kSize);
    publishNodes(clouds.behind, {square(1, 10, 20, kRed)});
    publishNodes(clouds.inFront, {square(1, 40, 4, kGreen)});
    const auto queue = Render::DrawQueue::shared(Neighbours::kGroup);
    drawn(
        [&]
        {
            const Render::DrawQueue::Opened opened(*queue);
            clouds.behind.render();  // and nobody finishes
        }
    );

    const PassPicture result = drawn([&] { clouds.inFront.render(); });

    EXPECT_EQ(countOf(result.color, kRed), 0u);
    EXPECT_EQ(countOf(result.color, kGreen), 16u);
}

TEST_F(LoDPointCloudUploadDeviceTest, MuchIsSpreadOverFramesCoarseNodesFirst)
{
    const auto cloud = cloudInClipSpace(1.0f, 1000);
    NodeRecord rootRecord = record(0, 0, {-1, -1, -1});
    const PublishedNode root{rootRecord, blockOf({pointAt(clipX(60.5f), clipY(60.5f), 0.5f, kBlue)})};
    constexpr std::size_t kBytesOfRed = 9 * 20;
    cloud->setMaxUploadPerFrame(kBytesOfRed + 20);

    publishNodes(*cloud, {root, square(1, 4, 3, kRed), square(2, 20, 4, kGreen)});

    const PassPicture first = picture(*cloud);
    EXPECT_TRUE(cloud->isUploading());
    EXPECT_EQ(countOf(first.color, kBlue), 1u);
    EXPECT_EQ(countOf(first.color, kRed), 9u);
    EXPECT_EQ(countOf(first.color, kGreen), 0u);
    EXPECT_EQ(cloud->numVisibleOctreeNodes(), 2u);
    EXPECT_EQ(cloud->numVisiblePoints(), 10u);

    const PassPicture second = picture(*cloud);
    EXPECT_FALSE(cloud->isUploading());
    EXPECT_EQ(countOf(second.color, kGreen), 16u) << "one node always goes, also one above the bound";
    EXPECT_EQ(cloud->numVisibleOctreeNodes(), 3u);
    EXPECT_EQ(cloud->numVisiblePoints(), 26u);
}

TEST_F(LoDPointCloudUploadDeviceTest, ANewerPublicationReplacesOneThatIsStillUploading)
{
    const auto cloud = cloudInClipSpace(1.0f, 1000);
    cloud->setMaxUploadPerFrame(1);
    publishNodes(*cloud, {square(1, 4, 3, kRed), square(2, 20, 4, kGreen)});
    picture(*cloud);
    ASSERT_TRUE(cloud->isUploading());

    publishNodes(*cloud, {square(3, 40, 2, kBlue)});

    const PassPicture result = picture(*cloud);
    EXPECT_FALSE(cloud->isUploading());
    EXPECT_EQ(countOf(result.color, kRed), 0u);
    EXPECT_EQ(countOf(result.color, kBlue), 4u);
}

TEST_F(LoDPointCloudUploadDeviceTest, LeavesNothingBoundButTheVertexBuffer)
{
    const auto cloud = cloudInClipSpace(4.0f);
    publish(*cloud, {pointAt(0, 0, 0.5f, kRed)});
    cloud->setShowBoundingBoxes(true);
    setViewport(64, 64);

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
    const auto create = [](std::size_t budget)
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
