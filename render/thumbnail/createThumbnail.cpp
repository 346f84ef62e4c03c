#include "render/thumbnail/createThumbnail.h"

#include "graphics/ColorImage.h"
#include "octree/OctreeNodeId.h"
#include "octree/potree/FileSystemLocation.h"
#include "render/pointcloud/PointCloudRenderable.h"
#include "render/renderer/Renderer.h"
#include "render/thumbnail/thumbnailEye.h"

#include <Eigen/Core>

#include <algorithm>
#include <stdexcept>
#include <system_error>

namespace Render
{
namespace
{
constexpr std::size_t kBudget = 10'000'000;  // points
constexpr double kUnitScale = 1.0;
constexpr float kAnyNear = 0.01F;  // replaced by the fit to the scene
constexpr float kAnyFar = 1000.0F;

void lookAtWhole(Renderer& renderer, const Math::NBoundingBox<float, 3>& box)
{
    const Math::Point<float, 3> eye = thumbnailEye(box, static_cast<float>(renderer.aspectRatio()));
    renderer.setCameraPose(eye, box.center(), Eigen::Vector3f::UnitZ());
    renderer.setZNearAndFarViaBoundingBox(box);
    renderer.setPerspective(kThumbnailFovYDeg, kAnyNear, kAnyFar, 0.0F, 0.0F);
    renderer.setZNearAndFarViaBoundingBox(box);
}

void removeIfPresent(const std::filesystem::path& path)
{
    std::error_code error;
    const bool present = std::filesystem::exists(path, error);
    if (error)
    {
        throw std::filesystem::filesystem_error("exists", path, error);
    }
    if (present)
    {
        if (std::filesystem::is_directory(path, error))  // an empty folder would be removed like a file
        {
            error = std::make_error_code(std::errc::is_a_directory);
            throw std::filesystem::filesystem_error("remove", path, error);
        }
        std::filesystem::remove(path, error);
        if (error)
        {
            throw std::filesystem::filesystem_error("remove", path, error);
        }
    }
}
}  // namespace

void createThumbnail(
    const std::filesystem::path& folder,
    std::uint64_t width,
    std::uint64_t height,
    const Math::Color& backgroundColor,
    std::uint64_t level
)
{
    const Octree::Location location{PoTree::FileSystemLocation(folder)};
    createThumbnail(location, folder / "thumbnail.png", width, height, backgroundColor, level);
}

void createThumbnail(
    const Octree::Location& location,
    const std::filesystem::path& outputPath,
    std::uint64_t width,
    std::uint64_t height,
    const Math::Color& backgroundColor,
    std::uint64_t level
)
{
    if (!location.exists())
    {
        throw std::invalid_argument("createThumbnail: locationPotree does not exist");
    }
    if (width == 0 || height == 0)
    {
        throw std::invalid_argument("createThumbnail: width and height must be at least 1");
    }
    const auto cloud = PointCloudRenderable::create(location, "", kBudget, kUnitScale);

    Renderer renderer(true);
    renderer.setScene(cloud);
    renderer.setViewport(width, height);
    lookAtWhole(renderer, cloud->boundingBoxWorld());
    renderer.setBackgroundColor(backgroundColor);

    const std::uint64_t deepestLevel = std::min(level, Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL);
    cloud->reloadPoints(nullptr, static_cast<std::size_t>(deepestLevel), {});

    removeIfPresent(outputPath);
    renderer.render();
    Graphics::ColorImage image;
    renderer.getColorImage(image);
    image.writePng(outputPath);
}
}  // namespace Render
