#pragma once

#include "apps/cli/SceneOptions.h"
#include <math/Point.h>
#include <octree/Octree.h>
#include <render/mesh/MeshRenderable.h>
#include <render/pano/PanoRenderable.h>
#include <render/pointcloud/PointCloudRenderable.h>
#include <render/renderer/Renderer.h>
#include <render/scene/GroupRenderable.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Cli
{
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

    /// Loads everything that the view calls for, with progress; afterwards the picture is complete.
    /// @throws std::runtime_error  when data cannot be read
    void load();

    /// Writes the depth buffer of the picture as 16-bit grey where the options ask for it.
    /// @throws std::runtime_error  when the file cannot be written
    void writeDepth();

    /// Says on standard error when the last frame shows no point, and why.
    void noteEmptyPicture();

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
    void applyCamera(const SceneOptions& options);
    Math::Point<float, 3> toScene(const Math::Point<double, 3>& absolute) const noexcept;

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
};
}  // namespace Cli
