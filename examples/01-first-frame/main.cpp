// Draws one picture of an octree data set: first-frame FOLDER PICTURE.png
#include <octree/OctreeNodeId.h>
#include <octree/potree/FileSystemLocation.h>
#include <render/pointcloud/PointCloudRenderable.h>
#include <render/renderer/Renderer.h>

#include <cstdio>
#include <exception>

int main(int argc, char** argv)
try
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: first-frame FOLDER PICTURE.png\n");
        return 2;
    }
    const Octree::Location location(PoTree::FileSystemLocation{argv[1]});
    const auto cloud = Render::PointCloudRenderable::create(location, "cloud", 1'000'000, 1.0);

    Render::Renderer renderer;
    renderer.setViewport(640, 480);
    renderer.setScene(cloud);
    renderer.setAutoAdjustZRange(true);
    renderer.setPerspective(45.0F, 0.01F, 1000.0F, 0.0F, 0.0F);

    const Math::NBoundingBox<float, 3> box = renderer.boundingBox();
    const Math::Point<float, 3> center = box.center();
    const float distance = 1.5F * box.largestSize();
    const Math::Point<float, 3> eye(center.x, center.y - distance, center.z + distance);
    renderer.setCameraPose(eye, center, Eigen::Vector3f::UnitZ());

    cloud->reloadPoints(nullptr, Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL, {});  // or startAsyncReload
    renderer.writePngImage(argv[2]);
    return 0;
}

catch (const std::exception& error)
{
    std::fprintf(stderr, "first-frame: %s\n", error.what());
    return 1;
}
