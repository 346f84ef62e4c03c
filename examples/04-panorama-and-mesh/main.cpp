// A cloud, the panorama of a room that this program paints, and a mesh that it makes, in one picture in which
// they hide one another: panorama-and-mesh DATASET PICTURE.png
#include <graphics/PanoramaLoader.h>
#include <octree/Location.h>
#include <render/mesh/MeshLoader.h>
#include <render/mesh/MeshRenderable.h>
#include <render/pano/PanoRenderable.h>
#include <render/pointcloud/PointCloudRenderable.h>
#include <render/renderer/Renderer.h>
#include <render/scene/GroupRenderable.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <numbers>
#include <thread>
#include <vector>

namespace
{
using Point = Math::Point<float, 3>;

constexpr float kRadius = 8.0F;  // metres

/// A hall in the shape of a ball, with stripes. One level of four tiles.
class HallLoader : public Graphics::PanoramaLoader
{
public:
    std::uint64_t numColorLevels() const override { return 1; }

    std::uint64_t numDepthLevels() const override { return 1; }

    std::uint64_t width(std::uint64_t) const override { return 1024; }

    std::uint64_t height(std::uint64_t) const override { return 512; }

    std::uint64_t tileWidth(std::uint64_t) const override { return 512; }

    std::uint64_t tileHeight(std::uint64_t) const override { return 256; }

    std::uint64_t tileOffsetX(const TileIndex& tile) const override { return 512 * tile.column; }

    std::uint64_t tileOffsetY(const TileIndex& tile) const override { return 256 * tile.row; }

    std::vector<TileIndex> tileIndices(std::uint64_t level) const override
    {
        return {{level, 0, 0}, {level, 1, 0}, {level, 0, 1}, {level, 1, 1}};
    }

    Graphics::ColorImage colorImageTile(const TileIndex& tile) override
    {
        Graphics::ColorImage image(512, 256);
        for (std::uint64_t y = 0; y < 256; ++y)
        {
            for (std::uint64_t x = 0; x < 512; ++x)
            {
                const bool isStripe = (tileOffsetX(tile) + x) / 32 % 2 == 0;
                image.setPixel(
                    x, y, isStripe ? Math::Color(120, 150, 190, 255) : Math::Color(225, 225, 215, 255)
                );
            }
        }
        return image;
    }

    /// Metres along the ray.
    Graphics::DepthImage depthImageTile(const TileIndex&) override
    {
        Graphics::DepthImage image(512, 256);
        for (std::uint64_t y = 0; y < 256; ++y)
        {
            for (std::uint64_t x = 0; x < 512; ++x)
            {
                image.setPixel(x, y, kRadius);
            }
        }
        return image;
    }
};

/// A pyramid of four sides, three corners for each triangle.
class PyramidLoader : public Render::MeshLoader
{
public:
    void load(const MeshPartReceiver& receivePart) const override
    {
        std::vector<Render::VertexPosNormalTexCoordColor> corners;
        const Point top(0.0F, 0.0F, 2.0F);
        const Point ground[] = {
            {1.0F, 1.0F, 0.0F}, {-1.0F, 1.0F, 0.0F}, {-1.0F, -1.0F, 0.0F}, {1.0F, -1.0F, 0.0F}};
        for (int side = 0; side < 4; ++side)
        {
            const Point& a = ground[side];
            const Point& b = ground[(side + 1) % 4];
            const Eigen::Vector3f outwards = Eigen::Vector3f(a.x + b.x, a.y + b.y, 1.0F).normalized();
            for (const Point& corner : {a, b, top})
            {
                corners.emplace_back(
                    corner, outwards, Math::Point<float, 2>(), Math::Color(200, 80, 40, 255)
                );
            }
        }
        receivePart(corners);
    }
};
}  // namespace

int main(int argc, char** argv)
try
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: panorama-and-mesh DATASET PICTURE.png\n");
        return 2;
    }
    const auto cloud =
        Render::PointCloudRenderable::create(Octree::Location::fromPath(argv[1]), "cloud", 1'000'000, 1.0);
    const auto panorama = Render::PanoRenderable::create(std::make_shared<HallLoader>(), "hall");
    const auto mesh = Render::MeshRenderable::create(std::make_shared<PyramidLoader>(), 1.0, "pyramid");
    const auto scene = Render::GroupRenderable::create("scene");
    scene->add(cloud);
    scene->add(panorama);
    scene->add(mesh);

    // The cloud as a model of four metres in the middle of the hall, the pyramid beside it.
    const Math::NBoundingBox<float, 3> box = cloud->boundingBox();
    const float scale = 4.0F / box.largestSize();
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix.topLeftCorner<3, 3>() *= scale;
    matrix.topRightCorner<3, 1>() << -scale * box.center().x, -scale * box.center().y,
        -2.0F - scale * box.min().z;
    cloud->setMatrix(matrix);
    matrix = Eigen::Matrix4f::Identity();
    matrix.topRightCorner<3, 1>() << 2.5F, 1.0F, -2.0F;
    mesh->setMatrix(matrix);

    Render::Renderer renderer;
    renderer.setViewport(960, 540);
    renderer.setScene(scene);
    renderer.setPerspective(60.0F, 0.1F, 50.0F, 0.0F, 0.0F);
    const Point eye(0.0F, -6.0F, 1.0F);
    const Point center(0.0F, 0.0F, -1.0F);
    renderer.setCameraPose(eye, center, Eigen::Vector3f(Eigen::Vector3f::UnitZ()));

    cloud->startAsyncReload(nullptr);
    panorama->startAsyncPanoramaTilesLoading(nullptr);
    panorama->waitForLoadingComplete();
    while (!cloud->isAsyncReloadComplete())
    {
        cloud->isAsyncReloadHealthy(true);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    renderer.writePngImage(argv[2]);
    return 0;
}

catch (const std::exception& error)
{
    std::fprintf(stderr, "panorama-and-mesh: %s\n", error.what());
    return 1;
}
