// Two data sets side by side, the second one cut by a plane: picks a point and a plane, and counts the points
// of a region on another thread while the clouds are drawn: two-clouds DATASET DATASET PICTURE.png
#include <octree/Location.h>
#include <render/pointcloud/IFilter.h>
#include <render/pointcloud/PointCloudRenderable.h>
#include <render/renderer/Renderer.h>
#include <render/scene/GroupRenderable.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <future>
#include <memory>
#include <numbers>
#include <utility>
#include <vector>

namespace
{
using Point = Math::Point<float, 3>;
using Box = Math::NBoundingBox<float, 3>;

/// An upright cylinder without ends: a filter of our own.
class CylinderFilter : public Render::IFilter
{
public:
    CylinderFilter(const Point& axis, float radius) : mAxis(axis), mSquaredRadius(radius * radius) {}

    bool testPosition(const Point& point) override
    {
        return squaredDistance(point.x, point.y) <= mSquaredRadius;
    }

    Octree::BoxTestResult testBox(const Box& box) override
    {
        const float nearestX = std::clamp(mAxis.x, box.min().x, box.max().x);
        const float nearestY = std::clamp(mAxis.y, box.min().y, box.max().y);
        if (squaredDistance(nearestX, nearestY) > mSquaredRadius)
        {
            return Octree::BoxTestResult::Outside;  // its nodes are not even read
        }
        for (const float x : {box.min().x, box.max().x})
        {
            for (const float y : {box.min().y, box.max().y})
            {
                if (squaredDistance(x, y) > mSquaredRadius)
                {
                    return Octree::BoxTestResult::Border;
                }
            }
        }
        return Octree::BoxTestResult::Inside;  // its points are taken without a test
    }

private:
    float squaredDistance(float x, float y) const
    {
        return (x - mAxis.x) * (x - mAxis.x) + (y - mAxis.y) * (y - mAxis.y);
    }

    Point mAxis;
    float mSquaredRadius;
};

struct Pixel
{
    std::uint64_t x;
    std::uint64_t y;
};

/// Where a point of the world shows in the picture.
Pixel pixelOf(const Render::Renderer& renderer, const Point& point)
{
    const Eigen::Vector4f clip = renderer.projectionMatrix() * renderer.viewMatrix() *
                                 Eigen::Vector4f(point.x, point.y, point.z, 1.0F);
    const auto inPicture = [&](float value, std::uint64_t size)
    {
        const float pixels = (value / clip.w() + 1.0F) / 2.0F * static_cast<float>(size);
        return static_cast<std::uint64_t>(std::max(pixels, 0.0F));
    };
    return {
        inPicture(clip.x(), renderer.viewport().width()), inPicture(-clip.y(), renderer.viewport().height())};
}

std::size_t countOf(Render::PointCloudQuery query)
{
    std::vector<Render::VertexPosColor> chunk(10'000);
    std::size_t count = 0;
    while (!query.isFinished())
    {
        count += query.getNextPointChunk(chunk.data(), chunk.size());
    }
    return count;
}
}  // namespace

int main(int argc, char** argv)
try
{
    if (argc != 4)
    {
        std::fprintf(stderr, "usage: two-clouds DATASET DATASET PICTURE.png\n");
        return 2;
    }
    // One budget for both: a million points, given to the nodes that matter most.
    const auto left =
        Render::PointCloudRenderable::create(Octree::Location::fromPath(argv[1]), "left", 1'000'000, 1.0);
    const auto right =
        Render::PointCloudRenderable::create(Octree::Location::fromPath(argv[2]), "right", 1'000'000, 1.0);
    const auto scene = Render::GroupRenderable::create("scene");
    scene->add(left);
    scene->add(right);

    // The right one in the size of the left one, beside it, on the same ground.
    const Box leftBox = left->boundingBox();
    const Box rightBox = right->boundingBox();
    const float scale = leftBox.largestSize() / rightBox.largestSize();
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix.topLeftCorner<3, 3>() *= scale;
    matrix(0, 3) = leftBox.max().x + 0.1F * leftBox.largestSize() - scale * rightBox.min().x;
    matrix(1, 3) = leftBox.min().y - scale * rightBox.min().y;
    matrix(2, 3) = leftBox.min().z - scale * rightBox.min().z;
    right->setMatrix(matrix);

    // Of the right one only what lies behind a plane through its middle: y - middle.y >= 0.
    const Point middle = right->boundingBoxWorld().center();
    right->setClippingVolume({Math::HalfSpace<float, 3>(0.0F, 1.0F, 0.0F, -middle.y)});

    Render::Renderer renderer;
    renderer.setViewport(960, 480);
    renderer.setScene(scene);
    renderer.setAutoAdjustZRange(true);
    renderer.setPerspective(45.0F, 0.01F, 1000.0F, 0.0F, 0.0F);
    const Box box = renderer.boundingBox();
    const Point center = box.center();
    const Point eye(center.x, center.y - 0.7F * box.largestSize(), center.z + 0.4F * box.largestSize());
    renderer.setCameraPose(eye, center, Eigen::Vector3f(Eigen::Vector3f::UnitZ()));
    left->startAsyncReload(nullptr);
    right->startAsyncReload(nullptr);

    // The query has its own way through the data set and needs nothing to be loaded.
    const Point leftCenter = left->boundingBoxWorld().center();
    const float radius = 0.2F * leftBox.largestSize();
    std::future<std::size_t> count = std::async(
        std::launch::async,
        countOf,
        left->createPointCloudQuery(std::make_unique<CylinderFilter>(leftCenter, radius))
    );

    while (!left->isAsyncReloadComplete() || !right->isAsyncReloadComplete())
    {
        left->isAsyncReloadHealthy(true);
        right->isAsyncReloadHealthy(true);
        if (renderer.needsRedraw())
        {
            renderer.render();
        }
    }
    renderer.writePngImage(argv[3]);  // draws the last frame, which is what is picked from

    const Pixel pixel = pixelOf(renderer, leftCenter);
    Point point;
    if (renderer.pickClosestPointWithTolerance(pixel.x, pixel.y, 20, point))
    {
        std::printf("in the middle of the left one lies %g %g %g\n", point.x, point.y, point.z);
    }
    Math::NPlane<float, 3> plane;
    const double threshold = 0.01 * leftBox.largestSize();
    if (renderer.pickPlane(pixel.x, pixel.y, 20, plane, point, threshold))
    {
        const double degrees = std::acos(std::min(std::abs(plane.c), 1.0F)) * 180.0 / std::numbers::pi;
        std::printf("the ground there leans by %.0f degrees\n", degrees);
    }
    std::printf("%zu points within %g of the left one's axis\n", count.get(), radius);
    return 0;
}

catch (const std::exception& error)
{
    std::fprintf(stderr, "two-clouds: %s\n", error.what());
    return 1;
}
