#pragma once

#include "apps/cli/Legend.h"
#include "apps/cli/SceneOptions.h"
#include "apps/cli/findPoint.h"
#include <math/Point.h>
#include <octree/Octree.h>
#include <render/mesh/MeshRenderable.h>
#include <render/pano/PanoRenderable.h>
#include <render/pointcloud/PointCloudRenderable.h>
#include <render/renderer/Renderer.h>
#include <render/scene/GroupRenderable.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Cli
{
struct CameraWish;

/// A renderer with the scene that the options describe, seen as they say.
///
/// Frame    the scene's origin is the reference position of the first cloud, without clouds the place of the
///          first object, so coordinates stay small; the options' coordinates are absolute and are moved
///          here, in double precision.
/// Threads  one thread.
class SceneSession
{
public:
    /// @throws CLI::ParseError     for an option that makes no sense
    /// @throws std::runtime_error  when a data set cannot be opened or no device made
    explicit SceneSession(const SceneOptions& options);

    /// Sees the scene as these options say from now on; load() again for it.
    /// @throws CLI::ParseError  for an option that makes no sense
    void applyCamera(const SceneOptions& options);

    /// Loads everything that the view calls for, with progress; afterwards the picture is complete.
    /// @throws std::runtime_error  when data cannot be read
    void load();

    /// Writes the depth buffer of the picture where the options ask for it, in the format that its name ends in.
    /// @throws std::runtime_error  when the file cannot be written
    void writeDepth();

    /// Draws the picture and writes it; says on standard error when no pixel shows a point, and why.
    /// @throws std::runtime_error  naming the path when it cannot be written
    void writePicture(const std::filesystem::path& path);

    /// Says on standard error when the last frame shows no point, and why.
    void noteEmptyPicture();

    /// A point of one of the clouds.
    struct Identified
    {
        std::string cloud;  ///< as the options name it
        FoundPoint point;
    };

    /// The point of a cloud that stands at a place of the scene which a picture has told.
    /// @throws std::runtime_error  when data cannot be read
    std::optional<Identified> identify(const Math::Point<float, 3>& place);

    Render::Renderer& renderer() noexcept { return mRenderer; }

    /// The scene's origin in absolute coordinates.
    const Math::Point<double, 3>& origin() const noexcept { return mOrigin; }

private:
    struct Cloud
    {
        std::shared_ptr<Octree::Octree> octree;
        std::shared_ptr<Render::PointCloudRenderable> renderable;
    };

    void addItems(const SceneOptions& options);
    void addCloud(const SceneItem& item, const SceneOptions& options);
    void addPanorama(const SceneItem& item);
    void addMesh(const SceneItem& item);
    Eigen::Matrix4f placement(const Eigen::Matrix4d& toAbsolute);
    void applyPointLook(
        Render::PointCloudRenderable& cloud, const Octree::Octree& octree, const SceneOptions& options
    );
    void applyLook(const SceneOptions& options);
    void applyShading(const SceneOptions& options);
    void applyClipping(const SceneOptions& options);
    void applyClipPlanes();
    void applySection(const SceneOptions& options);
    void drawPicture(const std::filesystem::path& path);
    void place(const CameraWish& wish, const SceneOptions& options);
    Legend legend();
    std::pair<Math::Point<float, 3>, Math::Point<float, 3>> colorizationRange() const;
    Math::NBoundingBox<float, 3> boxToFit(const std::string& text) const;
    Math::Point<float, 3> toScene(const Math::Point<double, 3>& absolute) const noexcept;

    SceneOptions mOptions;
    Render::Renderer mRenderer;
    std::shared_ptr<Render::GroupRenderable> mScene;
    std::shared_ptr<Octree::Octree> mFirstCloud;  // opened for its place, until it is added
    std::vector<Cloud> mClouds;
    std::vector<std::shared_ptr<Render::PanoRenderable>> mPanoramas;
    std::vector<std::shared_ptr<Render::MeshRenderable>> mMeshes;
    std::optional<Math::Point<double, 3>> mFirstPlace;  // of any object
    Math::Point<double, 3> mOrigin;
    std::vector<Math::HalfSpace<float, 3>> mClipPlanes;
    std::optional<double> mAutoContrast;
    std::string mDepthFile;
    std::uint64_t mSamples;            // pixels drawn for one, across and down each
    std::uint64_t mPictureHeight = 0;  // of what is written
    double mTargetDepth = 0.0;         // along the direction of view
};
}  // namespace Cli
