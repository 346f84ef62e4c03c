#include "render/pointcloud/LoDPointCloud.h"
#include "render/scene/Viewport.h"
#include "tests/render/pointcloud/PointPass.h"
#include "tests/support/messageOf.h"
#include "tests/support/printColor.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace
{
using Render::LoDPointCloud;
using Render::NodeRecord;
using Render::RenderMode;

const Math::Color kNothing;
const Math::Color kRed(200, 0, 0, 255);
const Math::Color kGreen(0, 200, 0, 255);
const Math::Color kBlue(0, 0, 200, 255);

class LoDPointCloudDeviceTest : public PointPassFixture
{
protected:
    /// Distance of a texel's centre from a position in texels.
    static float distance(unsigned x, unsigned y, float centerX, float centerY)
    {
        return std::hypot(static_cast<float>(x) + 0.5f - centerX, static_cast<float>(y) + 0.5f - centerY);
    }

    /// Width in texels of what has this colour.
    static unsigned widthOf(const TexelGrid<Math::Color>& grid, const Math::Color& color)
    {
        unsigned first = kSize;
        unsigned last = 0;
        for (unsigned y = 0; y < kSize; ++y)
        {
            for (unsigned x = 0; x < kSize; ++x)
            {
                if (grid.at(x, y) == color)
                {
                    first = std::min(first, x);
                    last = std::max(last, x);
                }
            }
        }
        return first > last ? 0 : last - first + 1;
    }
};
}  // namespace

// The shape and the size of splats.

TEST_F(LoDPointCloudDeviceTest, DrawsNothingBeforeSomethingIsPublished)
{
    const auto cloud = cloudInClipSpace(8.0f);

    const PassPicture result = picture(*cloud);

    EXPECT_EQ(countOf(result.color, kNothing), kSize * kSize);
    EXPECT_EQ(cloud->numVisiblePoints(), 0u);
    EXPECT_EQ(cloud->numVisibleOctreeNodes(), 0u);
}

TEST_F(LoDPointCloudDeviceTest, ASplatIsADiskOfThePointSize)
{
    const auto cloud = cloudInClipSpace(20.0f);
    publish(*cloud, {pointAt(0, 0, 0.5f, kRed)});

    const PassPicture result = picture(*cloud);

    for (unsigned y = 0; y < kSize; ++y)
    {
        for (unsigned x = 0; x < kSize; ++x)
        {
            const float fromCenter = distance(x, y, 32.0f, 32.0f);
            if (fromCenter < 9.99f)
            {
                ASSERT_EQ(result.color.at(x, y), kRed) << x << ", " << y;
                ASSERT_EQ(result.depth.at(x, y), 0.5f);
            }
            else if (fromCenter > 10.01f)
            {
                ASSERT_EQ(result.color.at(x, y), kNothing) << x << ", " << y;
                ASSERT_EQ(result.depth.at(x, y), 1.0f);
                ASSERT_EQ(result.worldPosition.at(x, y), (Float4{0, 0, 0, 0}));
            }
        }
    }
}

TEST_F(LoDPointCloudDeviceTest, ASplatIsAsHighAsWideInAWideViewport)
{
    // Drawn for a picture twice as wide as high: in this square one it is half as wide as high.
    const auto cloud = cloudInClipSpace(32.0f);
    cloud->setViewport(Render::Viewport(2 * kSize, kSize));
    publish(*cloud, {pointAt(0, 0, 0.5f, kRed)});

    const PassPicture result = picture(*cloud);

    EXPECT_EQ(widthOf(result.color, kRed), 16u);
    EXPECT_EQ(result.color.at(32, 17), kRed);
    EXPECT_EQ(result.color.at(32, 46), kRed);
    EXPECT_EQ(result.color.at(32, 14), kNothing);
    EXPECT_EQ(result.color.at(32, 49), kNothing);
}

TEST_F(LoDPointCloudDeviceTest, ASplatIsNeverSmallerThanOneTexel)
{
    const auto cloud = cloudInClipSpace(0.0f);
    publish(*cloud, {pointAt(clipX(10.5f), clipY(20.5f), 0.5f, kRed)});

    const PassPicture result = picture(*cloud);

    EXPECT_EQ(countOf(result.color, kRed), 1u);
    EXPECT_EQ(result.color.at(10, 20), kRed);
}

TEST_F(LoDPointCloudDeviceTest, ASplatIsNeverLargerThanTheMaximum)
{
    const auto cloud = cloudInClipSpace(50.0f);
    cloud->setMaxPointSize(6.0f);
    publish(*cloud, {pointAt(0, 0, 0.5f, kRed)});

    EXPECT_EQ(widthOf(picture(*cloud).color, kRed), 6u);
}

TEST_F(LoDPointCloudDeviceTest, InAPerspectiveSplatsShrinkWithTheDistanceDownToOneTexel)
{
    // 90 degrees: at distance d the picture is 2 d units high
    Eigen::Matrix4f projection;
    projection << 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0.5f, 0, 0, -1, 0;

    struct Row
    {
        float z;
        unsigned expectedWidth;
    };

    // 40 texels at distance 1, limited to 30
    for (const Row row : {Row{-1.0f, 30}, Row{-2.0f, 20}, Row{-4.0f, 10}, Row{-10.0f, 4}})
    {
        SCOPED_TRACE(row.z);
        const auto cloud = cloudInClipSpace(40.0f);
        cloud->setMaxPointSize(30.0f);
        cloud->setProjectionMatrix(projection);
        publish(*cloud, {pointAt(0, 0, row.z, kRed)});

        EXPECT_EQ(widthOf(picture(*cloud).color, kRed), row.expectedWidth);
    }
    const auto far = cloudInClipSpace(40.0f);
    far->setProjectionMatrix(projection);
    // one texel at distance 200 is 200 x 2 / 64 = 6.25 units: half a texel right of the centre and above
    publish(*far, {pointAt(3.125f, 3.125f, -200.0f, kRed)});
    EXPECT_EQ(countOf(picture(*far).color, kRed), 1u);
}

TEST_F(LoDPointCloudDeviceTest, TheModelsScaleScalesTheSplats)
{
    const auto cloud = cloudInClipSpace(8.0f);
    Eigen::Affine3f model = Eigen::Affine3f::Identity();
    model.scale(Eigen::Vector3f(2, 1, 1));  // the first column counts
    cloud->setModelMatrix(model.matrix());
    publish(*cloud, {pointAt(0, 0, 0.5f, kRed)});

    EXPECT_EQ(widthOf(picture(*cloud).color, kRed), 16u);
}

// The adaptive size: known drawn trees, their octree textures written by hand.

namespace
{
/// The tree: the root, its children 0, 3 and 5, and child 7 of child 3. The root's cube is 2 wide.
const std::vector<std::uint8_t> kTreeTexture{
    0b00101001, 0, 1, 0,  // root: its first child is the next texel
    0,          0, 0, 0,  // child 0
    0b10000000, 0, 2, 0,  // child 3: two texels on
    0,          0, 0, 0,  // child 5
    0,          0, 0, 0,  // child 7 of child 3
};
}  // namespace

TEST_F(LoDPointCloudDeviceTest, TheDeepestDrawnNodeAroundAPointDecidesItsSize)
{
    struct Row
    {
        const char* where;
        Math::Point<float, 3> position;
        unsigned expectedWidth;
    };

    // z runs from -1 to 1 here; child bits: x 4, y 2, z 1
    const Row rows[] = {
        {"child 0", {-0.5f, -0.5f, -0.5f}, 16},
        {"child 1, which is not drawn", {-0.5f, -0.5f, 0.5f}, 32},
        {"child 2, which is not drawn", {-0.5f, 0.5f, -0.5f}, 32},
        {"child 3 outside its child 7", {-0.75f, 0.5f, 0.5f}, 16},
        {"child 7 of child 3", {-0.25f, 0.75f, 0.75f}, 8},
        {"child 5", {0.5f, -0.5f, 0.5f}, 16},
        {"child 6, which is not drawn", {0.5f, 0.5f, -0.5f}, 32},
        {"the centre, which belongs to child 7", {0.0f, 0.0f, 0.0f}, 32},
        {"the border towards child 5", {0.0f, -0.5f, 0.0f}, 16},
        {"the border of child 7 of child 3", {-0.5f, 0.5f, 0.5f}, 8},
    };
    Eigen::Matrix4f halfDepth = Eigen::Matrix4f::Identity();
    halfDepth(2, 2) = 0.4f;
    halfDepth(2, 3) = 0.5f;
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.where);
        const auto cloud = cloudInClipSpace(32.0f);
        cloud->setProjectionMatrix(halfDepth);
        NodeRecord root = record(0, 0, {-1, -1, -1});
        root.pointCount = 1;
        const auto& [x, y, z] = row.position;
        publish(*cloud, {root}, kTreeTexture, {pointAt(x, y, z, kRed)});

        EXPECT_EQ(widthOf(picture(*cloud).color, kRed), row.expectedWidth);
    }
}

TEST_F(LoDPointCloudDeviceTest, TheWalkStartsAtTheNodeThatIsDrawn)
{
    Eigen::Matrix4f halfDepth = Eigen::Matrix4f::Identity();
    halfDepth(2, 2) = 0.4f;
    halfDepth(2, 3) = 0.5f;
    const auto cloud = cloudInClipSpace(32.0f);
    cloud->setProjectionMatrix(halfDepth);
    NodeRecord child3 = record(2, 1, {-1, 0, 0});
    child3.pointCount = 2;
    NodeRecord grandchild = record(4, 2, {-0.5f, 0.5f, 0.5f});
    grandchild.firstPoint = 2;
    grandchild.pointCount = 1;

    publish(
        *cloud,
        {child3, grandchild},
        kTreeTexture,
        {
            pointAt(-0.75f, 0.25f, 0.25f, kRed),
            pointAt(-0.25f, 0.75f, 0.6f, kGreen),
            pointAt(-0.4f, 0.9f, 0.6f, kBlue),
        }
    );

    const PassPicture result = picture(*cloud);
    EXPECT_EQ(widthOf(result.color, kRed), 16u);
    EXPECT_EQ(widthOf(result.color, kGreen), 8u);
    EXPECT_NEAR(widthOf(result.color, kBlue), 8u, 1);  // off the texel grid
}

TEST_F(LoDPointCloudDeviceTest, OffsetsInTheOctreeTextureHaveSixteenBits)
{
    // The root's child 4 lies 3000 = 11 x 256 + 184 texels on.
    std::vector<std::uint8_t> texture(3001 * 4, 0);
    texture[0] = 1U << 4U;
    texture[1] = 11;
    texture[2] = 184;
    texture[3000 * 4] = 1;  // and that has a child 0 at 3000 + 17
    texture[3000 * 4 + 2] = 17;
    const auto cloud = cloudInClipSpace(32.0f);
    NodeRecord root = record(0, 0, {-1, -1, -1});
    root.pointCount = 1;

    // x in the upper half, y in the lower one, z = 0 would be the upper half of -1 .. 1: root from z = -0.2
    root.boxMin = {-1, -1, -0.2f};
    publish(*cloud, {root}, texture, {pointAt(0.25f, -0.75f, 0.1f, kRed)});

    EXPECT_EQ(widthOf(picture(*cloud).color, kRed), 8u);
}

// Colours.

TEST_F(LoDPointCloudDeviceTest, TheRenderModeDecidesTheColour)
{
    const Math::Color color(60, 120, 180, 77);

    struct Row
    {
        RenderMode mode;
        Math::Color expected;
    };

    const Row rows[] = {
        {RenderMode::Default, color},
        {RenderMode::TomographicDark, Math::Color(255, 255, 255, 255)},
        {RenderMode::TomographicBright, Math::Color(255, 255, 255, 255)},
        {RenderMode::ColorizeByNormal, color},
        {RenderMode::ColorizeByPlaneDistance, Math::Color(0, 0, 0, 0)},
        {RenderMode::ColorizeByIntensity, Math::Color(200, 200, 200, 255)},
        // the mean is 120; times 0.5, 1, 0.25 and 0.8
        {RenderMode::UniformColor, Math::Color(60, 120, 30, 204)},
        {static_cast<RenderMode>(7), Math::Color(0, 0, 0, 0)},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(static_cast<int>(row.mode));
        const auto cloud = cloudInClipSpace(9.0f);
        cloud->setRenderMode(row.mode);
        cloud->setTomographicContrast(1.0f);
        cloud->setUniformColor(Math::Color(128, 255, 64, 204));
        Render::VertexContainer::Vertex point = pointAt(clipX(32.5f), clipY(32.5f), 0.5f, color);
        point.intensity = 200;
        publish(*cloud, {point});

        const PassPicture result = picture(*cloud);

        const Math::Color center = result.color.at(32, 32);
        EXPECT_NEAR(center.r(), row.expected.r(), 1);
        EXPECT_NEAR(center.g(), row.expected.g(), 1);
        EXPECT_NEAR(center.b(), row.expected.b(), 1);
        EXPECT_NEAR(center.a(), row.expected.a(), 1);
        EXPECT_EQ(result.exactWorldPosition.at(32, 32)[3], 1.0f);
    }
}

TEST_F(LoDPointCloudDeviceTest, InTheTomographicModesTheAlphaFallsSmoothlyToTheRim)
{
    const auto cloud = cloudInClipSpace(40.0f);
    cloud->setRenderMode(RenderMode::TomographicBright);
    cloud->setTomographicContrast(0.8f);
    publish(*cloud, {pointAt(clipX(32.5f), clipY(32.5f), 0.5f, kRed)});

    const PassPicture result = picture(*cloud);

    for (unsigned step = 0; step < 20; ++step)
    {
        const float x = 1.0f - static_cast<float>(step) / 20.0f;
        const float expected = 0.8f * x * x * (3.0f - 2.0f * x);
        EXPECT_NEAR(result.color.at(32 + step, 32).a(), 255.0f * expected, 1.0f) << step;
    }
    EXPECT_EQ(result.color.at(32 + 21, 32), kNothing);
}

// Positions.

TEST_F(LoDPointCloudDeviceTest, PositionsAreThoseOfThePointAndOfThePlaceOnTheSplat)
{
    const auto cloud = cloudInClipSpace(8.0f);
    Eigen::Affine3f model = Eigen::Affine3f::Identity();
    model.translate(Eigen::Vector3f(10, 20, 30));
    model.scale(2.0f);
    Eigen::Affine3f view = Eigen::Affine3f::Identity();
    view.scale(Eigen::Vector3f(0.5f, 0.5f, 0.5f));
    view.translate(Eigen::Vector3f(-10, -20, -30));
    cloud->setModelMatrix(model.matrix());
    cloud->setViewMatrix(view.matrix());  // undoes the model matrix
    publish(*cloud, {pointAt(0, 0, 0.25f, kRed)});

    const PassPicture result = picture(*cloud);

    for (unsigned y = 0; y < kSize; ++y)
    {
        for (unsigned x = 0; x < kSize; ++x)
        {
            if (result.color.at(x, y) != kRed)
            {
                continue;
            }
            EXPECT_EQ(result.exactWorldPosition.at(x, y), (Float4{10, 20, 30.5f, 1}));
            const Float4 world = result.worldPosition.at(x, y);
            EXPECT_NEAR(world[0], 10.0f + 2.0f * clipX(static_cast<float>(x) + 0.5f), 1e-4f);
            EXPECT_NEAR(world[1], 20.0f + 2.0f * clipY(static_cast<float>(y) + 0.5f), 1e-4f);
            EXPECT_NEAR(world[2], 30.5f, 1e-4f);
            EXPECT_NEAR(world[3], 1.0f, 1e-6f);
        }
    }
    EXPECT_GT(countOf(result.color, kRed), 100u);  // 16 texels wide
}

TEST_F(LoDPointCloudDeviceTest, TheNearerPointHidesTheFartherWhateverTheirOrder)
{
    const auto cloud = cloudInClipSpace(8.0f);
    publish(
        *cloud,
        {
            pointAt(-0.5f, 0, 0.3f, kRed),
            pointAt(-0.5f, 0, 0.6f, kGreen),
            pointAt(0.5f, 0, 0.6f, kGreen),
            pointAt(0.5f, 0, 0.3f, kRed),
        }
    );

    const PassPicture result = picture(*cloud);

    EXPECT_EQ(countOf(result.color, kGreen), 0u);
    EXPECT_GT(countOf(result.color, kRed), 80u);
}

// Clipping.

TEST_F(LoDPointCloudDeviceTest, APointOnAClippingPlaneIsDrawnAndOneBeyondItIsNot)
{
    const auto cloud = cloudInClipSpace(4.0f);
    cloud->setClippingVolume(Math::ConvexPolytope<float, 3>({Math::HalfSpace<float, 3>(2, 0, 0, -1)}));
    publish(
        *cloud,
        {
            pointAt(0.5f, 0.5f, 0.5f, kRed),
            pointAt(std::nextafter(0.5f, 0.0f), 0.0f, 0.5f, kGreen),
            pointAt(0.75f, -0.5f, 0.5f, kBlue),
        }
    );

    const PassPicture result = picture(*cloud);

    EXPECT_GT(countOf(result.color, kRed), 0u);
    EXPECT_EQ(countOf(result.color, kGreen), 0u);
    EXPECT_GT(countOf(result.color, kBlue), 0u);
}

TEST_F(LoDPointCloudDeviceTest, EachOfTheEightPlanesClips)
{
    // Plane i keeps what lies left of x = 0.7 - 0.2 i; the others keep everything.
    for (unsigned i = 0; i < 8; ++i)
    {
        SCOPED_TRACE(i);
        std::vector<Math::HalfSpace<float, 3>> planes(8, Math::HalfSpace<float, 3>(0, 0, 1, 1));
        planes[i] = Math::HalfSpace<float, 3>(-1, 0, 0, 0.7f - 0.2f * static_cast<float>(i));
        std::vector<Render::VertexContainer::Vertex> points;
        for (unsigned k = 0; k < 8; ++k)
        {
            points.push_back(pointAt(-0.8f + 0.2f * static_cast<float>(k), 0, 0.5f, kRed));
        }
        const auto cloud = cloudInClipSpace(2.0f);
        cloud->setClippingVolume(Math::ConvexPolytope<float, 3>(planes));
        publish(*cloud, points);

        const PassPicture result = picture(*cloud);

        unsigned visible = 0;
        for (unsigned x = 0; x < kSize; ++x)
        {
            const bool isStart = result.color.at(x, 32) == kRed && result.color.at(x - 1, 32) != kRed;
            visible += isStart ? 1 : 0;
        }
        EXPECT_EQ(visible, 8 - i);
    }
}

TEST_F(LoDPointCloudDeviceTest, NinePlanesAreRefusedAndTheOldOnesStay)
{
    const auto cloud = cloudInClipSpace(4.0f);
    cloud->setClippingVolume(Math::ConvexPolytope<float, 3>({Math::HalfSpace<float, 3>(1, 0, 0, 0)}));
    publish(*cloud, {pointAt(-0.5f, 0, 0.5f, kRed), pointAt(0.5f, 0, 0.5f, kGreen)});

    const std::vector<Math::HalfSpace<float, 3>> nine(9, Math::HalfSpace<float, 3>(0, 0, 0, 1));
    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { cloud->setClippingVolume(Math::ConvexPolytope<float, 3>(nine)); }
        ),
        "Error: volume contains too many clipping planes, plane count = 9"
    );

    const PassPicture result = picture(*cloud);
    EXPECT_EQ(countOf(result.color, kRed), 0u);
    EXPECT_GT(countOf(result.color, kGreen), 0u);
}
