#include "render/scene/Camera.h"
#include "render/thumbnail/thumbnailEye.h"

#include <Eigen/Core>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Point = Math::Point<float, 3>;

/// How far out the outermost corner of the box lies in the picture: 1 is its border.
float outermostCorner(const Box& box, std::uint64_t width, std::uint64_t height)
{
    const float aspectRatio = static_cast<float>(width) / static_cast<float>(height);
    Render::Camera camera;
    camera.setViewport(width, height);
    camera.setPose(Render::thumbnailEye(box, aspectRatio), box.center(), Eigen::Vector3f::UnitZ());
    camera.setPerspective(Render::kThumbnailFovYDeg, 0.01f, 1000.0f, 0.0f, 0.0f);
    float outermost = 0.0f;
    for (std::size_t i = 0; i < 8; ++i)
    {
        const Point corner = box.corner(i);
        const Eigen::Vector4f clip =
            camera.viewProjectionMatrix() * Eigen::Vector4f(corner.x, corner.y, corner.z, 1.0f);
        EXPECT_GT(clip.w(), 0.0f) << "corner " << i << " lies behind the eye";
        outermost = std::max({outermost, std::abs(clip.x() / clip.w()), std::abs(clip.y() / clip.w())});
    }
    return outermost;
}

const Box kBoxes[] = {
    Box(Point(0, 0, 0), Point(1, 1, 1)),
    Box(Point(-5, 3, 1), Point(95, 103, 11)),   // flat, as terrain is
    Box(Point(0, 0, 0), Point(2000, 40, 30)),   // a road
    Box(Point(0, 0, 0), Point(3, 3, 300)),      // a tower
    Box(Point(10, 10, 10), Point(10, 20, 10)),  // a line
    Box(Point(1e6f, 2e6f, 0), Point(1.001e6f, 2.001e6f, 50)),
};
}  // namespace

TEST(ThumbnailEye, TheWholeBoxIsInThePictureAndFillsIt)
{
    struct Size
    {
        std::uint64_t width;
        std::uint64_t height;
    };

    for (const Size size : {Size{256, 256}, Size{640, 480}, Size{1920, 1080}, Size{480, 640}})
    {
        for (const Box& box : kBoxes)
        {
            SCOPED_TRACE(
                testing::Message() << size.width << " x " << size.height << ", box to " << box.max().x << " "
                                   << box.max().y << " " << box.max().z
            );
            const float outermost = outermostCorner(box, size.width, size.height);
            EXPECT_LT(outermost, 0.99f);
            EXPECT_GT(outermost, 0.5f);
        }
    }
}

TEST(ThumbnailEye, LooksFromTheRaisedCornerWithTheLargestCoordinates)
{
    const Point eye = Render::thumbnailEye(Box(Point(0, 0, 0), Point(2, 2, 2)), 1.0f);

    // centre (1, 1, 1), corner (2, 2, 2 + 0.6): the offset is a multiple of (1, 1, 1.6)
    EXPECT_GT(eye.x, 2.0f);
    EXPECT_NEAR(eye.y - 1.0f, eye.x - 1.0f, 1e-4f);
    EXPECT_NEAR(eye.z - 1.0f, 1.6f * (eye.x - 1.0f), 1e-4f);
}

TEST(ThumbnailEye, IsElevenTenthsOfTheFittingDistanceAway)
{
    // seen along its diagonal in a square picture; the corner nearest to the eye is not the one that decides
    const Box box(Point(0, 0, 0), Point(1, 1, 1));
    const Point eye = Render::thumbnailEye(box, 1.0f);
    const Eigen::Vector3f center(0.5f, 0.5f, 0.5f);
    const Eigen::Vector3f offset = Eigen::Vector3f(eye.x, eye.y, eye.z) - center;

    Render::Camera camera;
    camera.setViewport(100, 100);
    const Eigen::Vector3f fitting = center + offset / 1.1f;
    camera.setPose(
        Point(fitting.x(), fitting.y(), fitting.z()), Point(0.5f, 0.5f, 0.5f), Eigen::Vector3f::UnitZ()
    );
    camera.setPerspective(20.0f, 0.01f, 100.0f, 0.0f, 0.0f);
    float outermost = 0.0f;
    for (std::size_t i = 0; i < 8; ++i)
    {
        const Point corner = box.corner(i);
        const Eigen::Vector4f clip =
            camera.viewProjectionMatrix() * Eigen::Vector4f(corner.x, corner.y, corner.z, 1.0f);
        outermost = std::max({outermost, std::abs(clip.x() / clip.w()), std::abs(clip.y() / clip.w())});
    }
    EXPECT_NEAR(outermost, 1.0f, 1e-4f);
}

TEST(ThumbnailEye, ABoxWithoutExtentIsLookedAtFromOneUnitAway)
{
    for (const Box& box : {Box(Point(3, 4, 5), Point(3, 4, 5)), Box()})
    {
        const Point eye = Render::thumbnailEye(box, 1.0f);
        const Point center = box.center();
        const Eigen::Vector3f offset(eye.x - center.x, eye.y - center.y, eye.z - center.z);

        EXPECT_NEAR(offset.norm(), 1.0f, 1e-5f);
        EXPECT_GT(offset.z(), 0.0f);
    }
}
