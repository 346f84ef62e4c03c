// Every call that creates or maps something fails once, for want of memory and because the device is gone.
#include "render/gpu/DeviceLostException.h"
#include "render/mesh/MeshLoader.h"
#include "render/mesh/MeshRenderable.h"
#include "render/pano/PanoRenderable.h"
#include "render/scene/GroupRenderable.h"
#include "tests/render/pano/RecordingPanoramaLoader.h"
#include "tests/render/pointcloud/TestCloud.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
using Eigen::Vector3f;
using Kind = CallFaults::Kind;
using Math::Color;
using Point3 = Math::Point<float, 3>;

constexpr Color kDot{0, 0, 255, 255};
constexpr Color kSphere{10, 0, 0, 255};
constexpr Color kPaint{0, 200, 0, 255};

/// Two parts of a mesh across the line of sight: right below and left below.
class TwoPlates : public MeshLoader
{
public:
    void load(const MeshPartReceiver& receivePart) const override
    {
        for (const float y : {-3.0F, 1.0F})
        {
            const auto corner = [y](float right, float up)
            {
                return VertexPosNormalTexCoordColor(
                    {13.0F, 8.0F + y + right, 6.0F + up}, Vector3f::UnitX(), {0.0F, 0.0F}, kPaint
                );
            };
            const std::vector<VertexPosNormalTexCoordColor> triangle{
                corner(0.0F, 0.0F), corner(2.0F, 0.0F), corner(0.0F, 1.5F)};
            receivePart(triangle);
        }
    }
};

/// All that a host reads of a frame.
struct FrameContents
{
    std::vector<char> color;
    std::vector<char> depth;
    std::vector<float> positions;  // that are picked or exported

    friend bool operator==(const FrameContents&, const FrameContents&) = default;
};

/// A cloud of two dots, a panorama round the eye and a mesh of two parts, in 33 x 33 pixels.
class CallFaultsDevice : public TestCloudFixture
{
protected:
    static constexpr std::uint64_t kSize = 33;

    void SetUp() override
    {
        TestCloudFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        writeNodes(mFolder.path(), {{"r", {::dot(12, 10, 8, kDot), ::dot(12, 6.5, 8, kDot)}}});
        mCloud = open(mFolder.path(), 1000);
        mCloud->setShowBoundingBoxes(true);
        const auto loader = std::make_shared<RecordingPanoramaLoader>(1, 1);
        loader->depthAt = [](auto, auto, auto) { return 7.0F; };
        const auto pano = PanoRenderable::create(loader, "pano");
        Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
        matrix.topRightCorner<3, 1>() = Vector3f(8.0F, 8.0F, 8.0F);
        pano->setMatrix(matrix);
        pano->loadPanoramaTiles();
        mScene = GroupRenderable::create("all");
        mScene->add(MeshRenderable::create(std::make_shared<TwoPlates>(), 1.0, "mesh"));
        mScene->add(pano);
        mScene->add(mCloud);
        mRenderer = makeSmallRenderer();
        enterScene();
        mExpected = frame();
        ASSERT_TRUE(showsEverything());
        mRenderer->setScene(nullptr);
    }

    void TearDown() override
    {
        mRenderer.reset();
        mScene.reset();
        mCloud.reset();
        TestCloudFixture::TearDown();
    }

    static std::unique_ptr<Renderer> makeSmallRenderer()
    {
        auto renderer = std::make_unique<Renderer>();
        renderer->setViewport(kSize, kSize);
        renderer->setPerspective(90.0F, 0.1F, 100.0F, 0.0F, 0.0F);
        renderer->setCameraPose(
            Point3(8.0F, 8.0F, 8.0F), Vector3f(Vector3f::UnitX()), Vector3f(Vector3f::UnitZ())
        );
        return renderer;
    }

    void enterScene()
    {
        mRenderer->setScene(mScene);
        load(*mCloud);
    }

    /// Draws and reads back in all ways.
    FrameContents frame()
    {
        mRenderer->render();
        FrameContents contents;
        Graphics::ColorImage color;
        mRenderer->getColorImage(color);
        contents.color.assign(color.data(), color.data() + color.sizeInBytes());
        Graphics::DepthImage depth;
        mRenderer->getDepthImage(depth);
        contents.depth.assign(depth.data(), depth.data() + depth.sizeInBytes());
        Point3 picked;
        mRenderer->pickPoint(8, 16, picked);
        contents.positions = {picked.x, picked.y, picked.z};
        std::vector<VertexPosColor> points;
        mRenderer->getPoints(points);
        for (const VertexPosColor& point : points)
        {
            contents.positions.insert(
                contents.positions.end(), {point.position.x, point.position.y, point.position.z}
            );
        }
        return contents;
    }

    bool showsEverything()
    {
        const Graphics::ColorImage image = picture(*mRenderer);
        std::size_t painted = 0;
        for (std::uint64_t y = 0; y < kSize; ++y)
        {
            for (std::uint64_t x = 0; x < kSize; ++x)
            {
                const Color color = image.pixel(x, y);
                painted += color.g() > 40 && color.r() == 0 && color.b() == 0 ? 1U : 0U;
            }
        }
        return countOf(image, kDot) > 0 && countOf(image, kSphere) > 0 && painted > 0;
    }

    /// How many calls entering the scene and a frame make.
    int countCalls()
    {
        faultsOf(mRenderer->device()).failNone();
        enterScene();
        frame();
        const int count = faultsOf(mRenderer->device()).count();
        mRenderer->setScene(nullptr);
        return count;
    }

    TemporaryFolder mFolder;
    std::shared_ptr<PointCloudRenderable> mCloud;
    std::shared_ptr<GroupRenderable> mScene;
    std::unique_ptr<Renderer> mRenderer;
    FrameContents mExpected;
};
}  // namespace

TEST_F(CallFaultsDevice, AfterACallWithoutMemoryTheNextFrameIsRightAndNothingIsKept)
{
    const int calls = countCalls();
    ASSERT_GT(calls, 40);
    CallFaults& faults = faultsOf(mRenderer->device());
    const ULONG objects = objectsOf(mRenderer->device());

    for (int number = 1; number <= calls; ++number)
    {
        faults.failAt(number, Kind::OutOfMemory);
        EXPECT_THROW((enterScene(), frame()), ComException);
        SCOPED_TRACE(std::to_string(number) + " " + faults.failed());

        faults.failNone();
        if (mRenderer->scene() == nullptr)
        {
            enterScene();
        }
        EXPECT_EQ(frame(), mExpected);
        mRenderer->setScene(nullptr);
        EXPECT_EQ(objectsOf(mRenderer->device()), objects);
        if (HasFailure())
        {
            break;
        }
    }
}

TEST_F(CallFaultsDevice, AfterADeviceIsLostANewRendererShowsTheSameSceneAgain)
{
    const int calls = countCalls();
    for (int number = 1; number <= calls; ++number)
    {
        faultsOf(mRenderer->device()).failAt(number, Kind::DeviceLost);
        SCOPED_TRACE(number);
        EXPECT_THROW((enterScene(), frame()), DeviceLostException);

        mRenderer.reset();
        mRenderer = makeSmallRenderer();
        enterScene();
        EXPECT_EQ(frame(), mExpected);
        mRenderer->setScene(nullptr);
        if (HasFailure())
        {
            break;
        }
    }
}

TEST_F(CallFaultsDevice, ADeviceThatIsLostBetweenFramesIsNoticedAndReplaced)
{
    enterScene();
    frame();
    faultsOf(mRenderer->device()).loseDevice();
    EXPECT_THROW(frame(), DeviceLostException);

    const std::shared_ptr<Renderable> scene = mRenderer->scene();
    mRenderer.reset();
    mRenderer = makeSmallRenderer();
    mRenderer->setScene(scene);
    mCloud->startAsyncReload(nullptr, kAllLevels);

    EXPECT_TRUE(eventually([&] { return frame() == mExpected; }));
}

TEST_F(CallFaultsDevice, ARendererThatCannotBeMadeThrowsAndTheNextOneWorks)
{
    mRenderer.reset();
    const auto another = std::make_unique<Renderer>();
    const int calls = faultsOf(another->device()).count();
    ASSERT_GT(calls, 20);

    for (int number = 1; number <= calls; ++number)
    {
        SCOPED_TRACE(number);
        failNextDevice(number, Kind::OutOfMemory);
        EXPECT_THROW(Renderer(), ComException);
        failNextDevice(number, Kind::DeviceLost);
        EXPECT_THROW(Renderer(), DeviceLostException);
    }

    mRenderer = makeSmallRenderer();
    enterScene();
    EXPECT_EQ(frame(), mExpected);
}
}  // namespace Render
