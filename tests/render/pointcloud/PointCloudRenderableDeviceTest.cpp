#include "octree/Octree.h"
#include "render/pointcloud/PointCloudRenderable.h"
#include "render/scene/Camera.h"
#include "render/scene/GroupRenderable.h"
#include "render/scene/RenderMode.h"
#include "tests/render/pointcloud/TestCloud.h"
#include "tests/support/messageOf.h"
#include "tests/support/printColor.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <limits>

namespace
{
using Render::PointCloudRenderable;
using Render::RenderMode;
using Box = Math::NBoundingBox<float, 3>;
using HalfSpace = Math::HalfSpace<float, 3>;

const Math::Color kWhite(255, 255, 255, 255);
const Math::Color kRed(200, 0, 0, 255);
const Math::Color kGreen(0, 200, 0, 255);
const Math::Color kBlue(0, 0, 200, 255);

/// A cloud of three dots in the root, at x = 2 (red), 8 (green) and 14 (blue), all at y = 6, z = 1.
class PointCloudRenderableDeviceTest : public TestCloudFixture
{
protected:
    void SetUp() override
    {
        TestCloudFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        writeNodes(mFolder.path(), {{"r", {dot(2, 6, 1, kRed), dot(8, 6, 1, kGreen), dot(14, 6, 1, kBlue)}}});
        mCloud = openDots();
    }

    std::shared_ptr<PointCloudRenderable> openDots(double unitScale = 1.0) const
    {
        auto cloud = open(mFolder.path(), kEverything, unitScale);
        cloud->setMaxPointSize(8.0f);
        return cloud;
    }

    /// A renderer that shows the cloud from above.
    std::unique_ptr<Render::Renderer> shown(std::shared_ptr<Render::Renderable> scene) const
    {
        auto renderer = makeRenderer();
        renderer->setScene(std::move(scene));
        lookDown(*renderer);
        return renderer;
    }

    TemporaryFolder mFolder;
    std::shared_ptr<PointCloudRenderable> mCloud;
};
}  // namespace

// Settings without a device.

TEST_F(PointCloudRenderableDeviceTest, StartsWithItsDefaults)
{
    const auto cloud = open(mFolder.path(), 1000, 2.0);

    EXPECT_EQ(cloud->name(), "cloud");
    EXPECT_EQ(cloud->updateInterval(), std::chrono::milliseconds(500));
    EXPECT_TRUE(cloud->restartLoadingAfterCameraChange());
    EXPECT_EQ(cloud->octreeNodePriorityThreshold(), 15.0f);
    EXPECT_FALSE(cloud->showBoundingBoxes());
    EXPECT_EQ(cloud->maxPointSize(), 5.0f);
    EXPECT_EQ(cloud->pointSize(), cloud->spacing(0) * 5.1f);
    EXPECT_EQ(cloud->defaultPointSize(), cloud->pointSize());
    EXPECT_EQ(cloud->tomographicContrast(), 0.01f);
    EXPECT_EQ(cloud->minLevelToKeep(), 0u);
    EXPECT_EQ(cloud->maxLevelToKeep(), 23u);
    EXPECT_EQ(cloud->unitScale(), 2.0);
    EXPECT_EQ(cloud->numVisiblePoints(), 0u);
    EXPECT_EQ(cloud->numVisibleOctreeNodes(), 0u);
    EXPECT_FALSE(cloud->isAsyncReloadActive());
    EXPECT_FALSE(cloud->isAsyncReloadComplete());
    EXPECT_TRUE(cloud->isAsyncReloadHealthy(true));
    EXPECT_FALSE(cloud->isTransparent());
    EXPECT_EQ(cloud->backgroundColor(), std::nullopt);
    EXPECT_TRUE(cloud->needsRedraw());
}

TEST_F(PointCloudRenderableDeviceTest, BoxesAndSpacingsAreThoseOfTheOctree)
{
    const auto cloud = open(mFolder.path(), 1000, 2.0);

    EXPECT_EQ(cloud->boundingCube(), Box({0, 0, 0}, {32, 32, 32}));
    EXPECT_EQ(cloud->boundingCube(Octree::OctreeNodeId::fromName("r7")), Box({16, 16, 16}, {32, 32, 32}));
    const Box box = cloud->boundingBox();
    EXPECT_NEAR(box.min().x, 4.0f, 0.01f);
    EXPECT_NEAR(box.max().x, 28.0f, 0.01f);
    EXPECT_EQ(cloud->spacing(0), 2.0f * 16.0f / 128.0f);
    EXPECT_EQ(cloud->spacing(3), cloud->spacing(0) / 8.0f);
    EXPECT_EQ(cloud->referencePosition(), (Math::Point<double, 3>(0, 0, 0)));
}

TEST_F(PointCloudRenderableDeviceTest, TheDefaultUniformColourBelongsToTheLocation)
{
    const TemporaryFolder elsewhere;
    writeNodes(elsewhere.path(), {{"r", {dot(1, 1, 1, kRed)}}});

    EXPECT_EQ(open(mFolder.path())->uniformColor(), mCloud->uniformColor());
    EXPECT_NE(open(elsewhere.path())->uniformColor(), mCloud->uniformColor());
}

TEST_F(PointCloudRenderableDeviceTest, AnOctreeThatIsOpenAlreadyIsUsed)
{
    const auto octree = std::make_shared<Octree::Octree>(locationOf(mFolder.path()), 3.0);

    const auto cloud = PointCloudRenderable::create(octree, "shared", 10);

    EXPECT_EQ(cloud->unitScale(), 3.0);
    octree->setUnitScale(4.0);
    EXPECT_EQ(cloud->unitScale(), 4.0);
    EXPECT_THROW(
        PointCloudRenderable::create(std::shared_ptr<Octree::Octree>(), "none", 10), std::invalid_argument
    );
}

TEST_F(PointCloudRenderableDeviceTest, OnlyChangesAskForARedraw)
{
    const auto asksForRedraw = [this](const std::function<void()>& change)
    {
        mCloud->setNeedsRedraw(false);
        change();
        return mCloud->needsRedraw();
    };

    EXPECT_TRUE(asksForRedraw([&] { mCloud->setPointSize(2.0f); }));
    EXPECT_FALSE(asksForRedraw([&] { mCloud->setPointSize(2.0f); }));
    EXPECT_TRUE(asksForRedraw([&] { mCloud->setTomographicContrast(0.5f); }));
    EXPECT_FALSE(asksForRedraw([&] { mCloud->setTomographicContrast(0.5f); }));
    EXPECT_TRUE(asksForRedraw([&] { mCloud->setShowBoundingBoxes(true); }));
    EXPECT_FALSE(asksForRedraw([&] { mCloud->setShowBoundingBoxes(true); }));
    EXPECT_TRUE(asksForRedraw([&] { mCloud->setUniformColor(kRed); }));
    EXPECT_TRUE(asksForRedraw([&] { mCloud->setUniformColor(kRed); })) << "this one compares nothing";
    EXPECT_FALSE(asksForRedraw([&] { mCloud->setMaxPointSize(9.0f); })) << "there is nothing to draw yet";
    const auto renderer = shown(mCloud);
    EXPECT_TRUE(asksForRedraw([&] { mCloud->setMaxPointSize(10.0f); }));
    EXPECT_FALSE(asksForRedraw([&] { mCloud->setMaxPointSize(10.0f); }));
    EXPECT_EQ(mCloud->pointSize(), 2.0f);
    EXPECT_EQ(mCloud->tomographicContrast(), 0.5f);
    EXPECT_EQ(mCloud->uniformColor(), kRed);
    EXPECT_EQ(mCloud->maxPointSize(), 10.0f);
}

TEST_F(PointCloudRenderableDeviceTest, AnUpdateIntervalMustBeLargerThanZero)
{
    for (const int ticks : {0, -1})
    {
        EXPECT_EQ(
            messageOf<std::invalid_argument>([&] { mCloud->setUpdateInterval(Render::UpdateInterval(ticks)); }
            ),
            "updateInterval must be larger than 0!"
        );
    }
    EXPECT_EQ(mCloud->updateInterval(), std::chrono::milliseconds(500));

    mCloud->setUpdateInterval(Render::UpdateInterval(1));
    EXPECT_EQ(mCloud->updateInterval().count(), 1);
}

TEST_F(PointCloudRenderableDeviceTest, VertexCachesAreSharedByLocationAndUnitScale)
{
    const Octree::Location location = locationOf(mFolder.path());
    const auto cache = PointCloudRenderable::createOrGetSharedCache(location, 1.5, 100, 10);

    EXPECT_EQ(cache->capacity(), 100u);
    EXPECT_EQ(PointCloudRenderable::createOrGetSharedCache(location, 1.5, 200, 10), cache);
    EXPECT_NE(PointCloudRenderable::createOrGetSharedCache(location, 2.5, 100, 10), cache);
    EXPECT_EQ(PointCloudRenderable::createOrGetSharedCache(location, 1.0, 1, 1)->capacity(), 30'000'000u)
        << "that of the cloud of this test";
}

// Lifecycle.

TEST_F(PointCloudRenderableDeviceTest, ASecondInitIsRefused)
{
    const auto renderer = shown(mCloud);

    EXPECT_EQ(
        messageOf<std::runtime_error>(
            [&] { mCloud->init(1, renderer->camera(), renderer->device(), renderer->deviceContext()); }
        ),
        "Error init was called on an already initialized PointCloudRenderable"
    );
}

TEST_F(PointCloudRenderableDeviceTest, ReloadingBeforeInitIsRefused)
{
    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { load(*mCloud); }),
        "reloadingPoints is not allowed if PointCloudRenderable is not initialized"
    );
}

TEST_F(PointCloudRenderableDeviceTest, DeinitBeforeInitIsHarmlessAndInitMayFollowIt)
{
    mCloud->deinit();
    const auto first = shown(mCloud);
    load(*mCloud);
    first->render();
    EXPECT_EQ(mCloud->numVisiblePoints(), 3u);

    first->setScene(Render::GroupRenderable::create("empty"));
    EXPECT_EQ(mCloud->numVisiblePoints(), 0u);
    mCloud->render();

    const auto second = shown(mCloud);
    load(*mCloud);
    EXPECT_GT(countOf(picture(*second), kRed), 0u);
}

TEST_F(PointCloudRenderableDeviceTest, AFailedInitLeavesTheCloudUninitialised)
{
    const auto huge = open(mFolder.path(), std::numeric_limits<std::size_t>::max());
    const auto renderer = makeRenderer();

    EXPECT_THROW(renderer->setScene(huge), std::invalid_argument);
    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { load(*huge); }),
        "reloadingPoints is not allowed if PointCloudRenderable is not initialized"
    );
}

TEST_F(PointCloudRenderableDeviceTest, SettingsMadeBeforeInitReachThePicture)
{
    mCloud->setPointSize(0.25f);
    mCloud->setUniformColor(Math::Color(255, 0, 255, 255));
    mCloud->setMatrix(Eigen::Affine3f(Eigen::Translation3f(0, 2, 0)).matrix());
    mCloud->setClippingVolume({HalfSpace(1, 0, 0, -4)});
    const auto renderer = makeRenderer();
    renderer->setRenderMode(RenderMode::UniformColor);
    lookDown(*renderer);

    renderer->setScene(mCloud);
    load(*mCloud);
    const Graphics::ColorImage image = picture(*renderer);

    // the mean of the dots' colours is 67; the red one is clipped, each other is 4 pixels wide
    const Math::Color shownColor(67, 0, 67, 255);
    EXPECT_EQ(image.pixel(64, 31), shownColor);  // y = 8
    EXPECT_EQ(image.pixel(112, 31), shownColor);
    EXPECT_EQ(image.pixel(16, 31), kWhite);
    EXPECT_NEAR(static_cast<double>(countOf(image, shownColor)), 2 * 12, 6);
}

// What the settings change.

TEST_F(PointCloudRenderableDeviceTest, TomographicModesAreTransparentOverBlack)
{
    const auto renderer = shown(mCloud);
    for (const RenderMode mode :
         {RenderMode::Default,
          RenderMode::TomographicDark,
          RenderMode::TomographicBright,
          RenderMode::ColorizeByNormal,
          RenderMode::ColorizeByPlaneDistance,
          RenderMode::ColorizeByIntensity,
          RenderMode::UniformColor})
    {
        SCOPED_TRACE(static_cast<int>(mode));
        renderer->setRenderMode(mode);

        const bool isTomographic =
            mode == RenderMode::TomographicDark || mode == RenderMode::TomographicBright;
        EXPECT_EQ(mCloud->isTransparent(), isTomographic);
        EXPECT_EQ(mCloud->backgroundColor().has_value(), isTomographic);
        EXPECT_EQ(mCloud->backgroundColor().value_or(Math::Color()), Math::Color(0, 0, 0, 0));
    }
}

TEST_F(PointCloudRenderableDeviceTest, PointSizesReachThePicture)
{
    const auto renderer = shown(mCloud);
    load(*mCloud);
    mCloud->setPointSize(0.25f);  // half a unit wide: 4 pixels
    EXPECT_NEAR(static_cast<double>(countOf(picture(*renderer), kRed)), 12.0, 4.0);

    mCloud->setPointSize(0.5f);
    EXPECT_NEAR(static_cast<double>(countOf(picture(*renderer), kRed)), 52.0, 6.0);

    mCloud->setMaxPointSize(1.0f);
    EXPECT_LE(countOf(picture(*renderer), kRed), 1u);
}

TEST_F(PointCloudRenderableDeviceTest, TheClippingVolumeIsInWorldCoordinatesAndFollowsTheMatrix)
{
    const auto renderer = shown(mCloud);
    load(*mCloud);
    mCloud->setClippingVolume({HalfSpace(1, 0, 0, -7)});  // x >= 7
    Graphics::ColorImage image = picture(*renderer);
    EXPECT_EQ(countOf(image, kRed), 0u);
    EXPECT_GT(countOf(image, kGreen), 0u);
    EXPECT_GT(countOf(image, kBlue), 0u);

    // two units to the left the green dot, at 6, is outside
    mCloud->setMatrix(Eigen::Affine3f(Eigen::Translation3f(-2, 0, 0)).matrix());
    load(*mCloud);
    image = picture(*renderer);
    EXPECT_EQ(countOf(image, kGreen), 0u);
    EXPECT_GT(countOf(image, kBlue), 0u);

    mCloud->setClippingVolume({});
    EXPECT_GT(countOf(picture(*renderer), kGreen), 0u);
}

TEST_F(PointCloudRenderableDeviceTest, NineClippingPlanesAreRefusedAndTheOldOnesStay)
{
    const auto renderer = shown(mCloud);
    load(*mCloud);
    const std::vector<HalfSpace> eight(8, HalfSpace(1, 0, 0, -7));
    mCloud->setClippingVolume(eight);
    mCloud->setNeedsRedraw(false);

    EXPECT_EQ(
        messageOf<std::runtime_error>(
            [&] { mCloud->setClippingVolume(std::vector<HalfSpace>(9, HalfSpace(0, 0, 0, 1))); }
        ),
        "Error: volume contains too many clipping planes, plane count = 9"
    );
    EXPECT_FALSE(mCloud->needsRedraw());
    mCloud->setClippingVolume(eight);
    EXPECT_FALSE(mCloud->needsRedraw()) << "the eight are still in force";
    EXPECT_EQ(countOf(picture(*renderer), kRed), 0u);
}

TEST_F(PointCloudRenderableDeviceTest, TheFrustumIsThatOfTheCameraInModelCoordinates)
{
    const auto renderer = shown(mCloud);
    const Eigen::Matrix4f model = Eigen::Affine3f(Eigen::Translation3f(3, 0, 0)).matrix();

    mCloud->setMatrix(model);

    EXPECT_EQ(mCloud->frustumModelCs(), renderer->camera()->frustum(model));
    EXPECT_TRUE(mCloud->frustumModelCs().contains({-2.9f, 6, 1}));
    EXPECT_FALSE(mCloud->frustumModelCs().contains({-3.1f, 6, 1}));
}

TEST_F(PointCloudRenderableDeviceTest, ANodeJustOutsideTheViewStillHasARank)
{
    const auto renderer = shown(mCloud);  // x from 0 to 16

    EXPECT_GT(mCloud->boundingBoxPriority(1, Box({18, 0, 0}, {22, 4, 4})), Render::NodePriority::discard());
    EXPECT_EQ(mCloud->boundingBoxPriority(1, Box({25, 0, 0}, {29, 4, 4})), Render::NodePriority::discard());
    mCloud->setOctreeNodePriorityThreshold(1000.0f);
    EXPECT_EQ(mCloud->boundingBoxPriority(1, Box({8, 0, 0}, {12, 4, 4})), Render::NodePriority::discard());
}

TEST_F(PointCloudRenderableDeviceTest, ANewUnitScaleScalesPointsSpacingAndPointSize)
{
    const auto renderer = shown(mCloud);
    const auto other = openDots();
    const auto otherRenderer = shown(other);
    load(*mCloud);
    load(*other);
    renderer->render();

    mCloud->setUnitScale(0.5);

    EXPECT_EQ(mCloud->pointSize(), 0.5f * other->pointSize());
    EXPECT_EQ(mCloud->boundingCube(), Box({0, 0, 0}, {8, 8, 8}));
    EXPECT_TRUE(mCloud->needsRedraw());
    EXPECT_EQ(countOfOthers(picture(*renderer), kWhite), 0u) << "what was loaded is gone";
    load(*mCloud);
    const Graphics::ColorImage image = picture(*renderer);
    EXPECT_EQ(image.pixel(8, 71), kRed);  // at (1, 3)
    EXPECT_EQ(image.pixel(56, 71), kBlue);
    EXPECT_EQ(image.pixel(112, 47), kWhite);

    other->clearVisibleOctreeNodes();
    load(*other);
    EXPECT_EQ(picture(*otherRenderer).pixel(112, 47), kBlue) << "the other cloud keeps its scale";

    EXPECT_THROW(mCloud->setUnitScale(0.0), std::invalid_argument);
    EXPECT_EQ(mCloud->unitScale(), 0.5);
}

TEST_F(PointCloudRenderableDeviceTest, BrightnessAndContrastSpreadTheGreysOfThePicture)
{
    const TemporaryFolder folder;
    Samples::SampleNode root;
    Samples::SampleNode child{"r0", {}};
    for (int i = 0; i < 50; ++i)
    {
        root.points.push_back(dot(1 + 0.01 * i, 1, 1, Math::Color(21, 51, 81, 255)));      // mean 51
        child.points.push_back(dot(1 + 0.01 * i, 2, 1, Math::Color(234, 204, 174, 255)));  // mean 204
    }
    writeNodes(folder.path(), {root, child});
    const auto cloud = open(folder.path());
    float brightness = 9.0f;
    float contrast = 9.0f;

    cloud->brightnessAndContrast(0.1f, 0.9f, brightness, contrast);
    EXPECT_NEAR(brightness, 0.0f, 1e-6f);  // 0.2 and 0.8 lie evenly about the middle
    EXPECT_NEAR(contrast, 0.9f / 0.6f, 1e-5f);

    // coloured by intensity the greys are the reds: 21 and 234
    const auto renderer = shown(cloud);
    renderer->setRenderMode(RenderMode::ColorizeByIntensity);
    cloud->brightnessAndContrast(0.1f, 1.0f, brightness, contrast);
    EXPECT_NEAR(contrast, 255.0f / (234.0f - 21.0f), 1e-4f);
    EXPECT_NEAR(brightness, 0.5f - 0.5f * 255.0f / 255.0f, 1e-6f);
}

TEST_F(PointCloudRenderableDeviceTest, BrightnessLooksAtFiveLevelsAndAtWhatCanBeRead)
{
    const TemporaryFolder folder;
    const auto greyNode = [](const std::string& name, unsigned char grey)
    {
        const Math::Color color(grey, grey, grey, 255);
        return Samples::SampleNode{name, std::vector<Samples::SamplePoint>(20, dot(0.1, 0.1, 0.1, color))};
    };
    const Samples::OctreeSummary summary =
        writeNodes(folder.path(), {greyNode("r", 51), greyNode("r0000", 153), greyNode("r00000", 255)});
    float brightness = 0.0f;
    float contrast = 0.0f;

    open(folder.path())->brightnessAndContrast(0.25f, 1.0f, brightness, contrast);
    EXPECT_NEAR(contrast, 1.0f / 0.4f, 1e-5f) << "level 5 takes no part";

    // the node of level 4 is broken: what is above it decides
    std::string bytes = TemporaryFolder::read(folder.path() / "octree.bin");
    ASSERT_EQ(summary.nodes[summary.nodes.size() - 2].id.name(), "r0000");
    bytes.at(summary.nodes[summary.nodes.size() - 2].byteOffset) = '\x11';
    folder.write("octree.bin", bytes);
    open(folder.path())->brightnessAndContrast(0.25f, 1.0f, brightness, contrast);
    EXPECT_NEAR(brightness, 0.5f - 0.2f, 1e-6f);
}

// Hidden points.

TEST_F(PointCloudRenderableDeviceTest, HiddenPointsAndHiddenNodesAreNotDrawn)
{
    using Samples::Attribute;
    const TemporaryFolder folder;
    Samples::SamplePoint hidden = dot(8, 6, 1, kGreen);
    hidden.visibility = 1;
    Samples::SampleNode hiddenNode{"r4", {dot(14, 6, 1, kBlue)}, 2};
    hiddenNode.points[0].visibility = 1;
    writeNodes(
        folder.path(),
        {{"r", {dot(2, 6, 1, kRed), hidden}}, hiddenNode},
        {Attribute::Position, Attribute::Rgb, Attribute::Visibility}
    );
    const auto cloud = open(folder.path());
    const auto renderer = shown(cloud);

    load(*cloud);
    renderer->render();

    EXPECT_EQ(cloud->numVisiblePoints(), 1u);
    EXPECT_EQ(cloud->numVisibleOctreeNodes(), 1u);
    EXPECT_GT(countOf(picture(*renderer), kRed), 0u);
}

TEST_F(PointCloudRenderableDeviceTest, AnExternalDataSetSaysWhatIsHidden)
{
    const TemporaryFolder external;
    Samples::SampleNode node{"r", {dot(2, 6, 1, kRed), dot(8, 6, 1, kGreen), dot(14, 6, 1, kBlue)}};
    node.points[0].visibility = 1;
    node.points[2].visibility = 1;
    writeNodes(external.path(), {node}, {Samples::Attribute::Visibility});

    mCloud->addExternalAttributeLocation(locationOf(external.path()));
    const auto renderer = shown(mCloud);
    load(*mCloud);
    const Graphics::ColorImage image = picture(*renderer);

    EXPECT_EQ(mCloud->numVisiblePoints(), 1u);
    EXPECT_GT(countOf(image, kGreen), 0u);
    EXPECT_EQ(countOf(image, kRed) + countOf(image, kBlue), 0u);
}
