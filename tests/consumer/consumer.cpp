// Draws a data set with the installed headers and libraries alone: consumer DATASET PICTURE.png. Ends with 0
// when the picture shows points.
#include "libraryBorders.h"
#include "matrices.h"
#include <core/readLocalFile.h>
#include <graphics/ColorImage.h>
#include <graphics/DeepZoomPanoramaLoader.h>
#include <graphics/PanoramaDescription.h>
#include <graphics/PictureLimits.h>
#include <math/Color.h>
#include <math/Point.h>
#include <octree/Location.h>
#include <octree/OctreeNodeId.h>
#include <render/mesh/MeshRenderable.h>
#include <render/pointcloud/PointCloudRenderable.h>
#include <render/renderer/Renderer.h>
#include <render/scene/Camera.h>
#include <render/scene/GroupRenderable.h>

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <stop_token>
#include <vector>

namespace
{
constexpr std::size_t kMaxPoints = 200'000;
constexpr std::size_t kDeepestLevel = 20;

std::size_t countPointPixels(const Graphics::ColorImage& image, const Math::Color& background)
{
    std::size_t count = 0;
    for (std::uint64_t y = 0; y < image.height(); ++y)
    {
        for (std::uint64_t x = 0; x < image.width(); ++x)
        {
            count += image.pixel(x, y) == background ? 0 : 1;
        }
    }
    return count;
}

/// An exception that a library throws is caught by its type here.
void expectErrorFromLibrary(const std::filesystem::path& missing)
{
    try
    {
        Core::readLocalFile(missing);
    }
    catch (const std::runtime_error& error)
    {
        std::printf("caught: %s\n", error.what());
        return;
    }
    throw std::logic_error("reading a missing file did not throw");
}

template <class T>
bool hasAddress(const T& constant)
{
    const T* volatile address = &constant;  // the compiler cannot put the value in its place
    return address != nullptr;
}

/// Constants of the libraries' classes can be bound to references, which needs them defined in this program.
void expectConstantsThatCanBeReferredTo()
{
    const bool all = hasAddress(Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL) &&
                     hasAddress(Graphics::PictureLimits::kLargestSide) &&
                     hasAddress(Graphics::PanoramaDescription::kFileName) &&
                     hasAddress(Render::MeshRenderable::CLIPPING_PLANES_MAX_COUNT);
    if (!all)
    {
        throw std::logic_error("a constant has no address");
    }
}

void run(const std::filesystem::path& dataset, const std::filesystem::path& picture)
{
    expectErrorFromLibrary(dataset / "missing");
    expectConstantsThatCanBeReferredTo();
    checkLibraryBorders(dataset);
    checkMatrices();

    const Math::Color background(10, 20, 30, 255);
    Render::Renderer renderer;
    renderer.setViewport(320, 240);
    renderer.setBackgroundColor(background);

    auto cloud =
        Render::PointCloudRenderable::create(Octree::Location::fromPath(dataset), "cloud", kMaxPoints, 1.0);
    auto scene = Render::GroupRenderable::create("scene");
    scene->add(cloud);
    renderer.setScene(scene);

    const auto box = renderer.boundingBox();
    const auto center = box.center();
    const float height = box.max().z - center.z + (box.max().x - box.min().x);
    renderer.setAutoAdjustZRange(true);
    renderer.setPerspective(60.0F, 0.1F, 100'000.0F, 0.0F, 0.0F);
    renderer.setCameraPose(
        Math::Point<float, 3>(center.x, center.y, center.z + height),
        center,
        Eigen::Vector3f(0.0F, 1.0F, 0.0F)
    );
    cloud->reloadPoints([] {}, kDeepestLevel, std::stop_token());

    renderer.writePngImage(picture);
    Graphics::ColorImage image(320, 240);
    renderer.getColorImage(image);
    const std::size_t pixels = countPointPixels(image, background);
    std::printf(
        "%zu pixels show points of %zu nodes\n",
        pixels,
        static_cast<std::size_t>(cloud->numVisibleOctreeNodes())
    );
    if (pixels < 1000)
    {
        throw std::runtime_error("the picture is nearly empty");
    }
}
}  // namespace

int main(int argc, char** argv)
{
    try
    {
        if (argc != 3)
        {
            throw std::invalid_argument("usage: consumer DATASET PICTURE.png");
        }
        run(argv[1], argv[2]);
        return 0;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "consumer: %s\n", error.what());
        return 1;
    }
}
